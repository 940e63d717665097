#pragma once

#include "Version_interface.h"

/// A version that a command prints, at "version/" and its name.
///
/// Value  what the command prints on standard error, if anything, or on standard output: UTF-8 up
///        to the first NUL, line ends included; "failed to run cmd\n" when it does not start,
///        does not end within 30 s, or prints more than 16 MiB. Fixed from construction, which
///        waits for the command.
class Cmd_version_interface : public Version_interface {
    Q_OBJECT
public:
    /// Starts a command for the object that is going to be made with it: the daemon does something
    /// else meanwhile. Without it the object starts the command itself.
    static void start(const QString& command);

    /// `command` is split at blanks; double quotes keep words together.
    Cmd_version_interface(DBus_daemon* owner, const QString& command, const QString& path);
};
