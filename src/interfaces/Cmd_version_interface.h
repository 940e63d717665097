#pragma once

#include "Version_interface.h"

/// A version that a command prints, at "version/" and its name.
///
/// Value  what the command prints on standard error, if anything, or on standard output: UTF-8 up
///        to the first NUL, line ends included; "failed to run cmd\n" when it does not start,
///        does not end within 30 s, or prints more than most_bytes on either. Fixed from
///        construction, which waits for the command.
class Cmd_version_interface : public Version_interface {
    Q_OBJECT
public:
    /// The bus refuses a message of more than 32 MiB and drops who sent it: a client that asked
    /// for such a text would end the daemon's service.
    static constexpr int most_bytes = 16 * 1024 * 1024;

    /// Starts a command for the object that is going to be made with it: the daemon does something
    /// else meanwhile. Without it the object starts the command itself.
    static void start(const QString& command);

    /// `command` is split at blanks; double quotes keep words together.
    Cmd_version_interface(DBus_daemon* owner, const QString& command, const QString& path);
};
