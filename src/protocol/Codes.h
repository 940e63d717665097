#pragma once

#include <QtGlobal>

// What single bytes and bits of messages stand for.

/// The two bits of an output in command and report bytes, at bit 2 x channel.
enum class Output_code : uchar { no_information = 0, off = 1, on = 2, disabled = 3 };

/// What is sent of an output.
constexpr Output_code output_code_of(bool on, bool enabled)
{
    return !enabled ? Output_code::disabled : on ? Output_code::on : Output_code::off;
}

/// Byte 1 of the power setting.
enum class Power_setting : uchar { line_15 = 0x02, start_up = 0xFF };

/// The mode of line 15 that a legacy controller is put in, and what goes with it.
constexpr uchar remote_line_15_mode = 0x02;
constexpr uchar line_15_setting_end = 0x05;

/// Whether a configuration message writes or reads.
enum class Configuration_access : uchar { read = 0x55, write = 0xAA };

/// Where the controller keeps the remote power-up delay.
constexpr uchar power_up_delay_offset = 4;

/// The device of the power switch message that is the display's backlight.
constexpr uchar display_backlight_device = 0xFE;

/// The backlight level of 100 %, which also stands for any above it.
constexpr uchar full_level = 254;

/// In both levels of a backlight message: asks for the report and changes nothing.
constexpr uchar query_level = 255;

/// What the light sensor gives at 100 %, in volts.
constexpr double full_light_volts = 4.995;

/// The input of a byte of digital inputs.
constexpr bool input_bit(uchar inputs, uint channel)
{
    return (inputs >> channel & 1) != 0;
}

/// A byte of digital inputs with one alone as it is.
constexpr uchar input_bits(bool on, uint channel)
{
    return static_cast<uchar>(uint{on} << channel);
}

/// The output of a byte of digital outputs.
constexpr Output_code output_code(uchar outputs, uint channel)
{
    return static_cast<Output_code>(outputs >> channel * 2 & 3);
}

/// A byte of digital outputs that says something of one output alone.
constexpr uchar output_bits(Output_code code, uint channel)
{
    return static_cast<uchar>(static_cast<uint>(code) << channel * 2);
}
