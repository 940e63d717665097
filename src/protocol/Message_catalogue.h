#pragma once

#include "Exchange.h"
#include "Field_catalogue.h"

enum class Direction { to_controller, from_controller };

/// What one identifier of the controller protocol means. Its fields stand in Field_catalogue.h.
struct Message_kind {
    uchar id;
    Direction direction;
    const char* name;  ///< for programs: lower case, with underscores
    const char* label; ///< for people

    constexpr List<Field> fields() const { return fields_of(id); }
};

/// The whole protocol, ascending by identifier.
inline constexpr Message_kind message_catalogue[] = {
    {Message_id::start_up, Direction::to_controller, "start_up", "start-up"},
    {Message_id::start_up_answer, Direction::from_controller, "start_up_answer", "start-up answer"},
    {Message_id::power_setting, Direction::to_controller, "power_setting",
     "power and line-15 setting"},
    {Message_id::power_response, Direction::from_controller, "power_response", "power response"},
    {Message_id::power_switch, Direction::to_controller, "power_switch", "power device switching"},
    {Message_id::power_switch_answer, Direction::from_controller, "power_switch_answer",
     "power device answer"},
    {Message_id::operating_voltage, Direction::to_controller, "operating_voltage",
     "operating voltage"},
    {Message_id::operating_voltage_report, Direction::from_controller, "operating_voltage_report",
     "operating voltage report"},
    {Message_id::digital_inputs, Direction::from_controller, "digital_inputs",
     "digital input report"},
    {Message_id::hardware_version_request, Direction::to_controller, "hardware_version_request",
     "hardware version request"},
    {Message_id::hardware_version, Direction::from_controller, "hardware_version",
     "hardware version"},
    {Message_id::firmware_version_request, Direction::to_controller, "firmware_version_request",
     "firmware version request"},
    {Message_id::firmware_version, Direction::from_controller, "firmware_version",
     "firmware version"},
    {Message_id::unique_id_request, Direction::to_controller, "unique_id_request",
     "unique device identifier request"},
    {Message_id::unique_id, Direction::from_controller, "unique_id", "unique device identifier"},
    {Message_id::power_button_poll, Direction::to_controller, "power_button_poll",
     "power button poll"},
    {Message_id::power_button, Direction::from_controller, "power_button", "power button"},
    {Message_id::analog_input, Direction::from_controller, "analog_input", "analog input"},
    {Message_id::ambient_light, Direction::from_controller, "ambient_light", "ambient light"},
    {Message_id::voltages_low_poll, Direction::to_controller, "voltages_low_poll",
     "voltage 0-2 poll"},
    {Message_id::voltages_low, Direction::from_controller, "voltages_low", "voltages 0-2"},
    {Message_id::voltages_high_poll, Direction::to_controller, "voltages_high_poll",
     "voltage 3-5 poll"},
    {Message_id::voltages_high, Direction::from_controller, "voltages_high", "voltages 3-5"},
    {Message_id::temperatures_poll, Direction::to_controller, "temperatures_poll",
     "temperature poll"},
    {Message_id::temperatures, Direction::from_controller, "temperatures", "temperatures 0-5"},
    {Message_id::frequency_output, Direction::to_controller, "frequency_output",
     "frequency output"},
    {Message_id::frequency_output_report, Direction::from_controller, "frequency_output_report",
     "frequency output report"},
    {Message_id::configuration, Direction::to_controller, "configuration",
     "configuration write or read"},
    {Message_id::configuration_report, Direction::from_controller, "configuration_report",
     "configuration report"},
    {Message_id::backlight, Direction::to_controller, "backlight", "display backlight"},
    {Message_id::backlight_report, Direction::from_controller, "backlight_report",
     "display backlight report"},
    {Message_id::digital_outputs, Direction::to_controller, "digital_outputs", "digital outputs"},
    {Message_id::digital_outputs_report, Direction::from_controller, "digital_outputs_report",
     "digital output report"},
    {Message_id::digest_request, Direction::to_controller, "digest_request", "digest request"},
    {Message_id::digest, Direction::from_controller, "digest", "digest"},
    {Message_id::oem_code, Direction::to_controller, "oem_code", "OEM code"},
    {Message_id::oem_code_report, Direction::from_controller, "oem_code_report", "OEM code report"},
    {Message_id::atx_acknowledge, Direction::to_controller, "atx_acknowledge", "ATX acknowledge"},
    {Message_id::atx, Direction::from_controller, "atx", "ATX"},
};

/// What is known of an identifier, or null.
constexpr const Message_kind* find_message(uchar id)
{
    for (const Message_kind& kind : message_catalogue) {
        if (kind.id == id)
            return &kind;
    }
    return nullptr;
}

/// The same by name.
constexpr const Message_kind* find_message(std::string_view name)
{
    for (const Message_kind& kind : message_catalogue) {
        if (name == kind.name)
            return &kind;
    }
    return nullptr;
}

/// Whether the host sends messages with this identifier.
constexpr bool is_request(uchar id)
{
    const Message_kind* const kind = find_message(id);
    return kind != nullptr && kind->direction == Direction::to_controller;
}
