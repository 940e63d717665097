#include "Version_command.h"

#include <QDeadlineTimer>
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
    return text.toUtf8().size() > Version_command::most_bytes ? failed() : text;
}

bool has_printed_too_much(QProcess& process)
{
    for (const auto channel : {QProcess::StandardError, QProcess::StandardOutput}) {
        process.setReadChannel(channel);
        if (process.bytesAvailable() > Version_command::most_bytes)
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

} // namespace

Version_command::Version_command(const QString& command) : process_(new QProcess)
{
    QStringList words = QProcess::splitCommand(command);
    process_->start(words.isEmpty() ? QString() : words.takeFirst(), words);
}

QString Version_command::text()
{
    process_->waitForStarted(patience_ms);
    if (!wait_for_end(*process_)) {
        // What it prints from now on is not kept.
        process_->closeReadChannel(QProcess::StandardOutput);
        process_->closeReadChannel(QProcess::StandardError);
        process_->readAllStandardOutput();
        process_->readAllStandardError();
        return failed();
    }
    const QByteArray output = process_->readAllStandardOutput();
    const QByteArray errors = process_->readAllStandardError();
    return text_up_to_nul(errors.isEmpty() ? output : errors);
}
