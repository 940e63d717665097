#include "PC_version_interface.h"

#include "Console.h"
#include "Message_id.h"

PC_version_interface::PC_version_interface(DBus_daemon* owner, const QString& path)
    : Version_interface(owner, path)
{
    set_text(QLatin1String(unknown));
}

bool PC_version_interface::handle_message(const uchar* data, uint len)
{
    if (len < 5 || data[0] != Message_id::firmware_version)
        return false;
    set_text(QString::asprintf("v%u.%u.%u", uint{data[4]}, uint{data[3]}, uint{data[2]}));
    Console::out() << "Got version\n";
    return true;
}
