#pragma once

#include "Message_id.h"

enum class Direction { to_controller, from_controller };

/// What one identifier of the controller protocol means.
struct Message_kind {
    uchar id;
    Direction direction;
    const char* name;
    const char* arguments; ///< by byte index; bytes not named are 0 or not read
};

/// The whole protocol, ascending by identifier.
constexpr Message_kind message_catalogue[] = {
    {Message_id::start_up, Direction::to_controller, "start-up", ""},
    {Message_id::start_up_answer, Direction::from_controller, "start-up answer", ""},
    {Message_id::power_setting, Direction::to_controller, "power and line-15 setting",
     "[1] 0xff at start-up; [1] 2 [2] 2 [3] 5 line-15 mode 2"},
    {Message_id::power_response, Direction::from_controller, "power response",
     "[1] line-15 mode; [4] ignition on if not 0"},
    {Message_id::power_switch, Direction::to_controller, "power device switching",
     "[1] 1 on, 0 off; [2] 0xfe display backlight"},
    {Message_id::power_switch_answer, Direction::from_controller, "power device answer", ""},
    {Message_id::operating_voltage, Direction::to_controller, "operating voltage", "[1] code"},
    {Message_id::operating_voltage_report, Direction::from_controller, "operating voltage report",
     "[1] code"},
    {Message_id::digital_inputs, Direction::from_controller, "digital input report",
     "[1] bit n input n"},
    {Message_id::hardware_version_request, Direction::to_controller, "hardware version request",
     ""},
    {Message_id::hardware_version, Direction::from_controller, "hardware version", "[1] revision"},
    {Message_id::firmware_version_request, Direction::to_controller, "firmware version request",
     ""},
    {Message_id::firmware_version, Direction::from_controller, "firmware version",
     "[2] patch; [3] minor; [4] major"},
    {Message_id::unique_id_request, Direction::to_controller, "unique device identifier request",
     ""},
    {Message_id::unique_id, Direction::from_controller, "unique device identifier",
     "[1]..[7] identifier"},
    {Message_id::power_button_poll, Direction::to_controller, "power button poll", ""},
    {Message_id::power_button, Direction::from_controller, "power button",
     "[1] short press if not 0"},
    {Message_id::analog_input, Direction::from_controller, "analog input",
     "[1..2] millivolts, high byte first"},
    {Message_id::ambient_light, Direction::from_controller, "ambient light",
     "[1..2] millivolts, high byte first"},
    {Message_id::voltages_low_poll, Direction::to_controller, "voltage 0-2 poll", ""},
    {Message_id::voltages_low, Direction::from_controller, "voltages 0-2",
     "[1..2] [3..4] [5..6] millivolts, high byte first"},
    {Message_id::voltages_high_poll, Direction::to_controller, "voltage 3-5 poll", ""},
    {Message_id::voltages_high, Direction::from_controller, "voltages 3-5",
     "[1..2] [3..4] [5..6] millivolts, high byte first"},
    {Message_id::temperatures_poll, Direction::to_controller, "temperature poll", ""},
    {Message_id::temperatures, Direction::from_controller, "temperatures 0-5",
     "[1]..[6] degrees Celsius, signed"},
    {Message_id::frequency_output, Direction::to_controller, "frequency output",
     "[1] 1; [2..3] value, high byte first"},
    {Message_id::frequency_output_report, Direction::from_controller, "frequency output report",
     ""},
    {Message_id::configuration, Direction::to_controller, "configuration write or read",
     "[1] OEM code + 1; [2] offset; [3] value; [4] 0xaa write, 0x55 read; [5] 1"},
    {Message_id::configuration_report, Direction::from_controller, "configuration report",
     "[1] OEM code + 1; [2] offset; [3] value"},
    {Message_id::backlight, Direction::to_controller, "display backlight",
     "[1] [2] levels, 0xff 0xff query"},
    {Message_id::backlight_report, Direction::from_controller, "display backlight report",
     "[1] level, 254 is 100 %"},
    {Message_id::digital_outputs, Direction::to_controller, "digital outputs",
     "[1] [2] two bits an output: 1 off, 2 on, 3 disabled"},
    {Message_id::digital_outputs_report, Direction::from_controller, "digital output report",
     "[2] two bits an output: 1 off, 2 on, 3 disabled"},
    {Message_id::digest_request, Direction::to_controller, "digest request",
     "[1] interval in 50 ms"},
    {Message_id::digest, Direction::from_controller, "digest",
     "[1] digital inputs; [2..3] analog, [4..5] light in millivolts; [6..7] frequency"},
    {Message_id::oem_code, Direction::to_controller, "OEM code", "[1] code"},
    {Message_id::oem_code_report, Direction::from_controller, "OEM code report", "[1] code"},
    {Message_id::atx_acknowledge, Direction::to_controller, "ATX acknowledge", ""},
    {Message_id::atx, Direction::from_controller, "ATX", ""},
};
