#include "Radar_output_interface.h"

#include "Named_field.h"

namespace {

constexpr U16_field frequency = {Message_id::frequency_output, "value"};

} // namespace

Radar_output_interface::Radar_output_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
    set(0);
}

bool Radar_output_interface::handle_message(const uchar* data, uint len)
{
    if (len >= 1 && data[0] == Message_id::frequency_output_report)
        return true;
    return refuse(data, len);
}

void Radar_output_interface::set(uint val)
{
    send_traced("RADARREQRAW: ", message_with(frequency.is(val)));
    value_ = val;
}
