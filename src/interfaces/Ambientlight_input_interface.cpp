#include "Ambientlight_input_interface.h"

#include "Message.h"
#include "Message_id.h"

#include <algorithm>

namespace {

double percent(double volts)
{
    return std::min(100.0, volts * 100 / 4.995);
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
    if (len >= 6 && data[0] == Message_id::digest)
        return update(percent(big_endian(data + 4) * 0.001));
    if (len >= 3 && data[0] == Message_id::ambient_light) {
        const double volts = big_endian(data + 1) * 0.001;
        trace_raw("LRAW: ", data, len, volts);
        return update(percent(volts));
    }
    return refuse(data, len);
}
