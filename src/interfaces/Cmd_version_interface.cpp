#include "Cmd_version_interface.h"

#include <QDeadlineTimer>
#include <QHash>
#include <QProcess>

namespace {

constexpr int patience_ms = 30000;
constexpr int look_again_ms = 20;
QString failed()
{
    return QStringLiteral("failed to run cmd\n");
}

/// What is not UTF-8 takes more bytes as text.
QString text_up_to_nul(const QByteArray& bytes)
{
    const QString text = QString::fromUtf8(bytes.constData());
    return text.toUtf8().size() > Cmd_version_interface::most_bytes ? failed() : text;
}

/// Never deleted: deleting one whose command does not end would wait for it.
QProcess* start_process(const QString& command)
{
    QStringList words = QProcess::splitCommand(command);
    auto* process = new QProcess;
    process->start(words.isEmpty() ? QString() : words.takeFirst(), words);
    return process;
}

bool has_printed_too_much(QProcess& process)
{
    for (const auto channel : {QProcess::StandardError, QProcess::StandardOutput}) {
        process.setReadChannel(channel);
        if (process.bytesAvailable() > Cmd_version_interface::most_bytes)
            return true;
    }
    return false;
}

/// Waits for the command's end, or for too much text. Whether there is an end and not too much.
bool wait_for_end(QProcess& process)
{
    const QDeadlineTimer deadline(patience_ms);
    while (!process.waitForFinished(look_again_ms)) {
        if (process.state() == QProcess::NotRunning || deadline.hasExpired() ||
            has_printed_too_much(process))
            return false;
    }
    return !has_printed_too_much(process);
}

QString text_of(QProcess& process)
{
    process.waitForStarted(patience_ms);
    if (!wait_for_end(process)) {
        // What it prints from now on is not kept.
        process.closeReadChannel(QProcess::StandardOutput);
        process.closeReadChannel(QProcess::StandardError);
        process.readAllStandardOutput();
        process.readAllStandardError();
        return failed();
    }
    const QByteArray output = process.readAllStandardOutput();
    const QByteArray errors = process.readAllStandardError();
    return text_up_to_nul(errors.isEmpty() ? output : errors);
}

/// Those that nobody waits for yet, by the command.
QHash<QString, QProcess*>& started_processes()
{
    static QHash<QString, QProcess*> processes;
    return processes;
}

} // namespace

void Cmd_version_interface::start(const QString& command)
{
    started_processes().insert(command, start_process(command));
}

Cmd_version_interface::Cmd_version_interface(DBus_daemon* owner, const QString& command,
                                             const QString& path)
    : Version_interface(owner, path)
{
    QProcess* const started = started_processes().take(command);
    set_text(text_of(started != nullptr ? *started : *start_process(command)));
}
