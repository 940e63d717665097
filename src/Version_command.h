#pragma once

#include <QString>

class QProcess;

/// A command that prints a version, from its start on.
///
/// Thread: main.
class Version_command {
public:
    /// The bus refuses a message of more than 32 MiB and drops who sent it: a client that asked
    /// for such a text would end the daemon's service.
    static constexpr int most_bytes = 16 * 1024 * 1024;

    /// Starts it. `command` is split at blanks; double quotes keep words together.
    explicit Version_command(const QString& command);

    /// Waits for its end, once. What it has printed on standard error, if anything, or on standard
    /// output: UTF-8 up to the first NUL, line ends included; "failed to run cmd\n" when it does
    /// not start, does not end within 30 s, or prints more than most_bytes on either.
    QString text();

private:
    QProcess* process_; ///< never deleted: that would wait for a command that does not end
};
