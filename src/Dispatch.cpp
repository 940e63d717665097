#include "Dispatch.h"

#include "Console.h"
#include "Interface_base.h"
#include "Message_catalogue.h"

#include <algorithm>
#include <iterator>

namespace {

using Trace = void (*)(const uchar* buf, uint len);

/// Whom an identifier concerns.
struct Route {
    static constexpr std::size_t longest_chain = 7;

    uchar id;
    std::array<Device_object, longest_chain> chain; ///< ends at the first count
    Trace trace = nullptr;                          ///< printed before the chain
    uint min_length = 1;                            ///< counts the identifier
    /// Its answer is ignored; count for nobody.
    Device_object told_first = Device_object::count;
};

void trace_digital_inputs(const uchar* buf, uint len)
{
    Console::out().bytes("DINRAW: ", Byte_style::lower_spaced, buf, len) << "\n";
}

void trace_power_response(const uchar* buf, uint len)
{
    Console::out() << "Power Res\n";
    trace_digital_inputs(buf, len);
}

void trace_backlight(const uchar* /*buf*/, uint /*len*/)
{
    Console::out() << "LCDGOT\n";
}

void trace_digital_outputs(const uchar* /*buf*/, uint /*len*/)
{
    Console::out() << "Got Dout\n";
}

void trace_digest(const uchar* buf, uint len)
{
    Console::out().bytes("Got Digest: ", Byte_style::padded_spaced, buf, len) << "\n";
}

template <class... Objects>
constexpr std::array<Device_object, Route::longest_chain> chain(Objects... objects)
{
    std::array<Device_object, Route::longest_chain> filled{};
    for (Device_object& object : filled)
        object = Device_object::count;
    std::size_t length = 0;
    ((filled[length++] = objects), ...);
    return filled;
}

constexpr Device_object nobody = Device_object::count;
using D = Device_object;

/// Ascending by identifier.
constexpr Route routes[] = {
    {Message_id::start_up_answer, chain()},
    {Message_id::power_response,
     chain(D::digital_input_0, D::digital_input_1, D::digital_input_2, D::digital_input_3),
     trace_power_response, 1, D::ignition},
    {Message_id::digital_inputs,
     chain(D::digital_input_0, D::digital_input_1, D::digital_input_2, D::digital_input_3),
     trace_digital_inputs},
    {Message_id::hardware_version, chain(D::hardware_version)},
    {Message_id::firmware_version, chain(D::firmware_version)},
    {Message_id::unique_id, chain(D::unique_device_id)},
    {Message_id::power_button, chain(D::power_button)},
    {Message_id::analog_input, chain(D::analog_input_0)},
    {Message_id::ambient_light, chain(D::ambient_light_input_0)},
    {Message_id::voltages_low, chain(D::voltage_input_0, D::voltage_input_1, D::voltage_input_2)},
    {Message_id::voltages_high, chain(D::voltage_input_3, D::voltage_input_4, D::voltage_input_5)},
    {Message_id::temperatures,
     chain(D::temperature_input_0, D::temperature_input_1, D::temperature_input_2,
           D::temperature_input_3, D::temperature_input_4, D::temperature_input_5)},
    {Message_id::frequency_output_report, chain(D::frequency_output_0)},
    {Message_id::configuration_report, chain(D::configuration)},
    {Message_id::backlight_report, chain(D::display_backlight), trace_backlight},
    {Message_id::digital_outputs_report,
     chain(D::digital_output_0, D::digital_output_1, D::digital_output_2, D::digital_output_3),
     trace_digital_outputs, 3},
    {Message_id::digest,
     chain(D::digital_input_0, D::digital_input_1, D::digital_input_2, D::digital_input_3,
           D::ambient_light_input_0, D::analog_input_0, D::frequency_input_0),
     trace_digest, 6},
    {Message_id::oem_code_report, chain(D::oem_profile)},
    {Message_id::atx, chain(D::atx)},
};

constexpr bool is_ascending()
{
    for (std::size_t i = 1; i < std::size(routes); ++i) {
        if (routes[i - 1].id >= routes[i].id)
            return false;
    }
    return true;
}
static_assert(is_ascending(), "find_route() searches by halves");

constexpr bool has_route(uchar id)
{
    for (const Route& route : routes) {
        if (route.id == id)
            return true;
    }
    return false;
}

constexpr bool is_read(const Message_kind& kind)
{
    for (const Field& field : kind.fields()) {
        if (field.role == Field_role::value)
            return true;
    }
    return false;
}

constexpr bool every_message_has_its_route()
{
    for (const Message_kind& kind : message_catalogue) {
        const bool from_controller = kind.direction == Direction::from_controller;
        if (has_route(kind.id) ? !from_controller : from_controller && is_read(kind))
            return false;
    }
    return true;
}
static_assert(every_message_has_its_route(), "a field that is read concerns an object");

const Route* find_route(uchar id)
{
    const auto* route =
        std::lower_bound(std::begin(routes), std::end(routes), id,
                         [](const Route& row, uchar wanted) { return row.id < wanted; });
    return route != std::end(routes) && route->id == id ? route : nullptr;
}

bool is_accepted(const Route& route, const Device_objects& objects, const uchar* buf, uint len)
{
    for (const Device_object object : route.chain) {
        if (object == nobody)
            return true;
        if (objects[object] == nullptr || !objects[object]->handle_message(buf, len))
            return false;
    }
    return true;
}

void report_unknown(uchar id)
{
    Console::out().bytes("Unknown message ", Byte_style::lower_joined, &id, 1) << "\n";
}

} // namespace

void dispatch(const Device_objects& objects, const uchar* buf, uint len)
{
    const Route* route = nullptr;
    if (len > 0) {
        Console::out().bytes("Got message ", Byte_style::padded_joined, buf, 1) << "\n";
        route = find_route(buf[0]);
    }
    if (route == nullptr) {
        Console::out() << "Unhandled message default\n";
        return;
    }
    if (len < route->min_length) {
        report_unknown(route->id);
        return;
    }
    if (route->trace != nullptr)
        route->trace(buf, len);
    if (route->told_first != nobody && objects[route->told_first] != nullptr)
        objects[route->told_first]->handle_message(buf, len);
    if (!is_accepted(*route, objects, buf, len))
        report_unknown(route->id);
}
