#include "Ambientlight_input_interface.h"

#include "Named_field.h"

#include <algorithm>

namespace {

constexpr U16_field digest_light = {Message_id::digest, "light"};
constexpr U16_field light = {Message_id::ambient_light, "light"};

double percent(double volts)
{
    return std::min(100.0, volts * 100 / full_light_volts);
}

} // namespace

Ambientlight_input_interface::Ambientlight_input_interface(DBus_daemon* owner,
                                                           const QString& relative_path)
    : Analog_input_interface(owner, relative_path, false)
{
    register_object();
}

bool Ambientlight_input_interface::handle_message(const uchar* data, uint len)
{
    if (const auto volts = digest_light.read_scaled(data, len))
        return update(percent(*volts));
    if (const auto volts = light.read_scaled(data, len)) {
        trace_raw("LRAW: ", data, len, *volts);
        return update(percent(*volts));
    }
    return refuse(data, len);
}
