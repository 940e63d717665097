#include "HW_version_interface.h"

#include "Named_field.h"
#include "Object_kind.h"

namespace {

constexpr U8_field revision = {Message_id::hardware_version, "revision"};

} // namespace

HW_version_interface::HW_version_interface(DBus_daemon* owner, const QString& path)
    : Version_interface(owner, path)
{
    set_text(QLatin1String(unknown_version));
}

bool HW_version_interface::handle_message(const uchar* data, uint len)
{
    const auto number = revision.read(data, len);
    if (!number)
        return refuse(data, len);
    set_text(QLatin1String(revision.row().code_name(*number)));
    return true;
}
