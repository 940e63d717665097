#include "PC_version_interface.h"

#include "Console.h"
#include "Explanation.h"
#include "Named_field.h"
#include "Object_kind.h"

namespace {

constexpr Long_field firmware = {Message_id::firmware_version, "firmware"};

} // namespace

PC_version_interface::PC_version_interface(DBus_daemon* owner, const QString& path)
    : Version_interface(owner, path)
{
    set_text(QLatin1String(unknown_version));
}

bool PC_version_interface::handle_message(const uchar* data, uint len)
{
    const auto version = firmware.read(data, len);
    if (!version)
        return false;
    set_text(text_of(firmware.row(), *version));
    Console::out() << "Got version\n";
    return true;
}
