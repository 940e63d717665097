#include "Voltage_input_interface.h"

#include "Named_field.h"

#include <iterator>

namespace {

/// By channel.
constexpr U16_field voltages[] = {
    {Message_id::voltages_low, "voltage0"},  {Message_id::voltages_low, "voltage1"},
    {Message_id::voltages_low, "voltage2"},  {Message_id::voltages_high, "voltage3"},
    {Message_id::voltages_high, "voltage4"}, {Message_id::voltages_high, "voltage5"},
};

/// The field in the other message at the same place.
constexpr std::size_t other_message(std::size_t channel)
{
    return (channel + std::size(voltages) / 2) % std::size(voltages);
}

} // namespace

Voltage_input_interface::Voltage_input_interface(DBus_daemon* owner, const QString& relative_path,
                                                 uint channel)
    : Analog_input_interface(owner, relative_path, false), channel_(channel)
{
    register_object();
}

bool Voltage_input_interface::handle_message(const uchar* data, uint len)
{
    if (channel_ >= std::size(voltages))
        return refuse(data, len);
    // The object takes both messages; the dispatch offers it its own.
    if (const auto volts = voltages[channel_].read_scaled(data, len))
        return update(*volts);
    if (const auto volts = voltages[other_message(channel_)].read_scaled(data, len))
        return update(*volts);
    return refuse(data, len);
}
