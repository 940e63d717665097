#include "Shark.h"

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>

#include <unistd.h>

namespace {

constexpr int deadline_ms = 60000;
constexpr auto all_may_read = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                              QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther |
                              QFile::ExeOther;

void install(const QString& file, const QString& directory)
{
    const QString target = directory + QLatin1Char('/') + QFileInfo(file).fileName();
    if (!QDir().mkpath(directory) || !QFile::copy(file, target) ||
        !QFile::setPermissions(target, all_may_read))
        qFatal("cannot copy %s", qPrintable(file));
}

} // namespace

Shark::Shark()
{
    QFile::setPermissions(directory_.path(), all_may_read);
    install(QStringLiteral(DOV_DISSECTOR), path("plugins"));
    install(QStringLiteral(DOV_EXTCAP), path("extcap"));
}

void Shark::start(QProcess& process, const QStringList& arguments) const
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), directory_.path());
    environment.insert(QStringLiteral("TMPDIR"), QStringLiteral("/tmp"));
    environment.remove(QStringLiteral("XDG_CONFIG_HOME"));
    environment.insert(QStringLiteral("WIRESHARK_PLUGIN_DIR"), path("plugins"));
    environment.insert(QStringLiteral("WIRESHARK_EXTCAP_DIR"), path("extcap"));
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(directory_.path());
    QStringList command = {QStringLiteral("tshark")};
    if (geteuid() == 0)
        command = QStringList{QStringLiteral("setpriv"), QStringLiteral("--reuid=nobody"),
                              QStringLiteral("--regid=nogroup"), QStringLiteral("--clear-groups")} +
                  command;
    process.start(command.first(), command.mid(1) + arguments);
}

QString Shark::run(const QStringList& arguments) const
{
    QProcess process;
    start(process, arguments);
    if (!process.waitForFinished(deadline_ms))
        qFatal("tshark does not end");
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        qFatal("tshark %s: %s", qPrintable(arguments.join(QLatin1Char(' '))),
               process.readAllStandardError().constData());
    return QString::fromUtf8(process.readAllStandardOutput());
}

QVector<Shark::Packet> Shark::fields(const QString& file, const QStringList& names) const
{
    QStringList arguments = {
        QStringLiteral("-2"),          QStringLiteral("-r"),     file,
        QStringLiteral("-T"),          QStringLiteral("fields"), QStringLiteral("-E"),
        QStringLiteral("aggregator=|")};
    for (const QString& name : names)
        arguments << QStringLiteral("-e") << name;
    QVector<Packet> packets;
    for (const QString& line : run(arguments).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QStringList cells = line.split(QLatin1Char('\t'));
        if (cells.size() != names.size())
            qFatal("tshark says \"%s\"", qPrintable(line));
        Packet packet;
        for (int i = 0; i < static_cast<int>(names.size()); ++i)
            packet[names[i]] = cells[i].split(QLatin1Char('|'), Qt::SkipEmptyParts);
        packets.append(packet);
    }
    return packets;
}

QStringList Shark::matching(const QString& file, const QString& filter) const
{
    return run({QStringLiteral("-2"), QStringLiteral("-r"), file, QStringLiteral("-Y"), filter,
                QStringLiteral("-T"), QStringLiteral("fields"), QStringLiteral("-e"),
                QStringLiteral("frame.number")})
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
