#include "Power_button_interface.h"

#include "Named_field.h"

namespace {

constexpr Flag_field pressed = {Message_id::power_button, "pressed"};

} // namespace

Power_button_interface::Power_button_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

bool Power_button_interface::handle_message(const uchar* data, uint len)
{
    const auto short_pressed = pressed.read(data, len);
    if (!short_pressed)
        return refuse(data, len);
    if (*short_pressed)
        Q_EMIT short_press(1);
    return true;
}
