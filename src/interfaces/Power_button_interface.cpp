#include "Power_button_interface.h"

#include "Message_id.h"

Power_button_interface::Power_button_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

bool Power_button_interface::handle_message(const uchar* data, uint len)
{
    if (len < 2 || data[0] != Message_id::power_button)
        return refuse(data, len);
    if (data[1] != 0)
        Q_EMIT short_press(1);
    return true;
}
