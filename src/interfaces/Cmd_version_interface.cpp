#include "Cmd_version_interface.h"

#include "Version_command.h"

Cmd_version_interface::Cmd_version_interface(DBus_daemon* owner, const QString& command,
                                             const QString& path)
    : Version_interface(owner, path)
{
    set_text(Version_command(command).text());
}

Cmd_version_interface::Cmd_version_interface(DBus_daemon* owner, Version_command& command,
                                             const QString& path)
    : Version_interface(owner, path)
{
    set_text(command.text());
}
