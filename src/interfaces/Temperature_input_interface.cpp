#include "Temperature_input_interface.h"

#include "Named_field.h"

#include <iterator>

namespace {

/// By channel.
constexpr I8_field temperatures[] = {
    {Message_id::temperatures, "temperature0"}, {Message_id::temperatures, "temperature1"},
    {Message_id::temperatures, "temperature2"}, {Message_id::temperatures, "temperature3"},
    {Message_id::temperatures, "temperature4"}, {Message_id::temperatures, "temperature5"},
};

} // namespace

Temperature_input_interface::Temperature_input_interface(DBus_daemon* owner,
                                                         const QString& relative_path, uint channel)
    : Analog_input_interface(owner, relative_path, false), channel_(channel)
{
    register_object();
}

bool Temperature_input_interface::handle_message(const uchar* data, uint len)
{
    if (channel_ >= std::size(temperatures))
        return refuse(data, len);
    const auto degrees = temperatures[channel_].read_scaled(data, len);
    return degrees ? update(*degrees) : refuse(data, len);
}
