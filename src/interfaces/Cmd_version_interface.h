#pragma once

#include "Version_interface.h"

class Version_command;

/// A version that a command prints, at "version/" and its name.
///
/// Value  the text of a Version_command. Fixed from construction, which waits for the command.
class Cmd_version_interface : public Version_interface {
    Q_OBJECT
public:
    /// Starts the command itself.
    Cmd_version_interface(DBus_daemon* owner, const QString& command, const QString& path);

    /// Of a command that runs already.
    Cmd_version_interface(DBus_daemon* owner, Version_command& command, const QString& path);
};
