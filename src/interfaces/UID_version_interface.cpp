#include "UID_version_interface.h"

#include "Console.h"
#include "Explanation.h"
#include "Named_field.h"
#include "Object_kind.h"

namespace {

constexpr Long_field identifier = {Message_id::unique_id, "identifier"};

} // namespace

UID_version_interface::UID_version_interface(DBus_daemon* owner, const QString& path)
    : Version_interface(owner, path)
{
    set_text(QLatin1String(unknown_version));
}

bool UID_version_interface::handle_message(const uchar* data, uint len)
{
    const auto number = identifier.read(data, len);
    if (!number)
        return false;
    const QString text = text_of(identifier.row(), *number);
    set_text(text);
    Console::out().format("Got unique ID: %s\n", text.toLatin1().constData());
    return true;
}
