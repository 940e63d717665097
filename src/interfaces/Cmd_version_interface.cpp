#include "Cmd_version_interface.h"

#include <QHash>
#include <QProcess>

#include <future>
#include <mutex>

namespace {

constexpr int patience_ms = 30000;

QString text_up_to_nul(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes.constData());
}

/// One at a time: forks of a process with threads wait for each other's locks.
void start_alone(QProcess& process, QStringList words)
{
    static std::mutex mutex;
    const std::lock_guard<std::mutex> guard(mutex);
    process.start(words.isEmpty() ? QString() : words.takeFirst(), words);
}

QString run_command(const QString& command)
{
    // Never deleted: deleting one whose command does not end would wait for it again.
    auto* process = new QProcess;
    start_alone(*process, QProcess::splitCommand(command));
    process->waitForStarted(patience_ms);
    if (!process->waitForFinished(patience_ms))
        return QStringLiteral("failed to run cmd\n");
    const QByteArray output = process->readAllStandardOutput();
    const QByteArray errors = process->readAllStandardError();
    return text_up_to_nul(errors.isEmpty() ? output : errors);
}

/// The texts that are on their way, by the command.
QHash<QString, std::shared_future<QString>>& started_texts()
{
    static QHash<QString, std::shared_future<QString>> texts;
    return texts;
}

} // namespace

void Cmd_version_interface::start(const QString& command)
{
    // Deferred where no thread can be made: the object that is made with it runs the command.
    constexpr auto policy = std::launch::async | std::launch::deferred;
    started_texts().insert(command, std::async(policy, run_command, command));
}

Cmd_version_interface::Cmd_version_interface(DBus_daemon* owner, const QString& command,
                                             const QString& path)
    : Version_interface(owner, path)
{
    const std::shared_future<QString> text = started_texts().take(command);
    set_text(text.valid() ? text.get() : run_command(command));
}
