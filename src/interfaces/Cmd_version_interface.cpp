#include "Cmd_version_interface.h"

#include <QProcess>

namespace {

constexpr int patience_ms = 30000;

QString text_up_to_nul(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes.constData());
}

} // namespace

Cmd_version_interface::Cmd_version_interface(DBus_daemon* owner, const QString& command,
                                             const QString& path)
    : Version_interface(owner, path)
{
    QStringList words = QProcess::splitCommand(command);
    // Never deleted: deleting one whose command does not end would wait for it again.
    auto* process = new QProcess;
    process->start(words.isEmpty() ? QString() : words.takeFirst(), words);
    if (!process->waitForStarted(patience_ms))
        set_text(QStringLiteral("failed to start cmd\n"));
    if (!process->waitForFinished(patience_ms)) {
        set_text(QStringLiteral("failed to run cmd\n"));
        return;
    }
    set_text(text_up_to_nul(process->readAllStandardOutput()));
    const QByteArray errors = process->readAllStandardError();
    if (!errors.isEmpty())
        set_text(text_up_to_nul(errors));
}
