#include "Temperature_input_interface.h"

#include "Message_id.h"

namespace {

constexpr uint channel_count = 6;

} // namespace

Temperature_input_interface::Temperature_input_interface(DBus_daemon* owner,
                                                         const QString& relative_path, uint channel)
    : Analog_input_interface(owner, relative_path, false), channel_(channel)
{
    register_object();
}

bool Temperature_input_interface::handle_message(const uchar* data, uint len)
{
    const bool known =
        channel_ < channel_count && len >= channel_ + 2 && data[0] == Message_id::temperatures;
    if (!known)
        return refuse(data, len);
    return update(static_cast<signed char>(data[1 + channel_]));
}
