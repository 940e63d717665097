#include "Voltage_input_interface.h"

#include "Message.h"
#include "Message_id.h"

namespace {

constexpr uint channel_count = 6;
constexpr uint channels_in_message = 3;

} // namespace

Voltage_input_interface::Voltage_input_interface(DBus_daemon* owner, const QString& relative_path,
                                                 uint channel)
    : Analog_input_interface(owner, relative_path, false), channel_(channel)
{
    register_object();
}

bool Voltage_input_interface::handle_message(const uchar* data, uint len)
{
    const uint at = 1 + channel_ % channels_in_message * 2;
    const bool known =
        channel_ < channel_count && len >= at + 2 &&
        (data[0] == Message_id::voltages_low || data[0] == Message_id::voltages_high);
    if (!known)
        return refuse(data, len);
    return update(big_endian(data + at) * 0.001);
}
