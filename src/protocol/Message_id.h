#pragma once

#include <QtGlobal>

/// Identifiers of the controller protocol, byte 0 of every message.
///
/// The host's are odd; the controller answers identifier n with n + 1 and pushes some of its own
/// accord. Names and directions stand in Message_catalogue.h, fields in Field_catalogue.h.
namespace Message_id {
enum : uchar {
    start_up = 0x01,
    start_up_answer = 0x02,
    power_setting = 0x05,
    power_response = 0x06,
    power_switch = 0x0b,
    power_switch_answer = 0x0c,
    operating_voltage = 0x0d,
    operating_voltage_report = 0x0e,
    digital_inputs = 0x10,
    hardware_version_request = 0x11,
    hardware_version = 0x12,
    firmware_version_request = 0x15,
    firmware_version = 0x16,
    unique_id_request = 0x19,
    unique_id = 0x1a,
    power_button_poll = 0x1b,
    power_button = 0x1c,
    analog_input = 0x1e,
    ambient_light = 0x20,
    voltages_low_poll = 0x21,
    voltages_low = 0x22,
    voltages_high_poll = 0x23,
    voltages_high = 0x24,
    temperatures_poll = 0x27,
    temperatures = 0x28,
    frequency_output = 0x29,
    frequency_output_report = 0x2a,
    configuration = 0x2d,
    configuration_report = 0x2e,
    backlight = 0x31,
    backlight_report = 0x32,
    digital_outputs = 0x33,
    digital_outputs_report = 0x34,
    digest_request = 0x35,
    digest = 0x36,
    oem_code = 0x3d,
    oem_code_report = 0x3e,
    atx_acknowledge = 0x3f,
    atx = 0x40,
};
} // namespace Message_id
