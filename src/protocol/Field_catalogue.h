#pragma once

#include "Codes.h"
#include "Field.h"
#include "Message_id.h"

#include <iterator>

// Every field of every message: what the objects read and write, what tools show, what the
// document says. Names and directions of the messages stand in Message_catalogue.h.

namespace Field_rows {

constexpr Field u8(uchar id, uchar first, const char* name, const char* label)
{
    return Field{id, first, 1, Field_type::u8}.named(name, label).from(0, 255);
}

constexpr Field i8(uchar id, uchar first, const char* name, const char* label)
{
    return Field{id, first, 1, Field_type::i8}.named(name, label).from(-128, 127);
}

constexpr Field u16(uchar id, uchar first, const char* name, const char* label)
{
    return Field{id, first, 2, Field_type::u16}.named(name, label).from(0, 65535);
}

constexpr Field one_more(uchar id, uchar first, const char* name, const char* label)
{
    return Field{id, first, 1, Field_type::one_more}.named(name, label).from(0, 255);
}

/// What one number means, which may be of an enumeration.
template <class Number>
constexpr Code code(Number number, const char* name)
{
    return {static_cast<int>(number), static_cast<int>(number), name};
}

inline constexpr Code off_and_on[] = {code(0, "off"), code(1, "on")};

constexpr Field flag(uchar id, uchar first, const char* name, const char* label)
{
    const Field field = {id, first, 1, Field_type::flag};
    return field.named(name, label).from(0, 1).means(off_and_on).written(Field_style::named);
}

/// Four digital inputs.
constexpr Field inputs(uchar id, uchar first)
{
    return Field{id, first, 1, Field_type::bits, 4}.named("inputs", "inputs").from(0, 15);
}

/// By Output_code.
inline constexpr Code output_codes[] = {
    code(Output_code::no_information, "-"),
    code(Output_code::off, "off"),
    code(Output_code::on, "on"),
    code(Output_code::disabled, "disabled"),
};

/// Four digital outputs. The codes are those of a single one.
constexpr Field outputs(uchar id, uchar first)
{
    const Field field = {id, first, 1, Field_type::two_bits, 4};
    return field.named("outputs", "outputs")
        .from(0, 255)
        .means(output_codes)
        .written(Field_style::named);
}

constexpr Field version(uchar id, uchar first, const char* name, const char* label)
{
    return Field{id, first, 3, Field_type::version}.named(name, label).from(0, 0xFFFFFF);
}

constexpr Field bytes(uchar id, uchar first, uchar size, const char* name, const char* label)
{
    const qint64 most = (qint64{1} << 8 * size) - 1;
    return Field{id, first, size, Field_type::bytes}.named(name, label).from(0, most);
}

/// A byte that says nothing and is always 1.
constexpr Field constant_one(uchar id, uchar first)
{
    return u8(id, first, "constant", "constant").always(1);
}

inline constexpr Unit millivolts = {"mV", "V", 0.001};
inline constexpr Unit degrees = {"", "degrees Celsius", 1};
inline constexpr Unit levels = {"", "%", 100.0 / full_level};
inline constexpr Unit fifty_milliseconds = {"50 ms", "ms", 50};

inline constexpr Code power_settings[] = {
    code(Power_setting::line_15, "line 15"),
    code(Power_setting::start_up, "start-up"),
};
inline constexpr Code power_devices[] = {
    code(display_backlight_device, "display backlight"),
};
inline constexpr Code hardware_versions[] = {{0, 10, "v1.0"}, {11, 19, "v1.1"}, {20, 255, "v2.0"}};
inline constexpr Code configuration_offsets[] = {
    code(power_up_delay_offset, "power-up delay"),
};
inline constexpr Code accesses[] = {
    code(Configuration_access::read, "read"),
    code(Configuration_access::write, "write"),
};
inline constexpr Code level_codes[] = {code(query_level, "query")};

constexpr auto hexadecimal = Field_style::hexadecimal;

using namespace Message_id;

/// Ascending by identifier and first byte.
// clang-format off
inline constexpr Field rows[] = {
    u8(power_setting, 1, "setting", "setting").means(power_settings).written(hexadecimal),
    u8(power_setting, 2, "mode", "mode"),
    u8(power_setting, 3, "with", "with"),

    u8(power_response, 1, "line_15_mode", "line-15 mode"),
    flag(power_response, 4, "ignition", "ignition"),

    flag(power_switch, 1, "switch", "switch"),
    u8(power_switch, 2, "device", "device").means(power_devices).written(hexadecimal),

    flag(power_switch_answer, 1, "switch", "switch").not_read(),
    u8(power_switch_answer, 2, "device", "device")
        .means(power_devices).written(hexadecimal).not_read(),

    u8(operating_voltage, 1, "code", "code"),
    u8(operating_voltage_report, 1, "code", "code").not_read(),

    inputs(digital_inputs, 1),

    u8(hardware_version, 1, "revision", "revision").means(hardware_versions),
    version(firmware_version, 2, "firmware", "firmware"),
    bytes(unique_id, 1, 7, "identifier", "identifier"),

    flag(power_button, 1, "pressed", "pressed"),

    u16(analog_input, 1, "analog", "analog").in(millivolts),
    u16(ambient_light, 1, "light", "light").in(millivolts),

    u16(voltages_low, 1, "voltage0", "voltage0").in(millivolts),
    u16(voltages_low, 3, "voltage1", "voltage1").in(millivolts),
    u16(voltages_low, 5, "voltage2", "voltage2").in(millivolts),
    u16(voltages_high, 1, "voltage3", "voltage3").in(millivolts),
    u16(voltages_high, 3, "voltage4", "voltage4").in(millivolts),
    u16(voltages_high, 5, "voltage5", "voltage5").in(millivolts),

    i8(temperatures, 1, "temperature0", "temperature0").in(degrees),
    i8(temperatures, 2, "temperature1", "temperature1").in(degrees),
    i8(temperatures, 3, "temperature2", "temperature2").in(degrees),
    i8(temperatures, 4, "temperature3", "temperature3").in(degrees),
    i8(temperatures, 5, "temperature4", "temperature4").in(degrees),
    i8(temperatures, 6, "temperature5", "temperature5").in(degrees),

    constant_one(frequency_output, 1),
    u16(frequency_output, 2, "value", "value"),
    constant_one(frequency_output_report, 1),
    u16(frequency_output_report, 2, "value", "value").not_read(),

    one_more(configuration, 1, "oem_code", "OEM code"),
    u8(configuration, 2, "offset", "offset").means(configuration_offsets),
    u8(configuration, 3, "value", "value"),
    u8(configuration, 4, "access", "access").one_of(accesses),
    constant_one(configuration, 5),
    one_more(configuration_report, 1, "oem_code", "OEM code"),
    u8(configuration_report, 2, "offset", "offset").means(configuration_offsets),
    u8(configuration_report, 3, "value", "value"),

    u8(backlight, 1, "level", "level").from(0, full_level).means(level_codes).in(levels),
    u8(backlight, 2, "second_level", "second level")
        .from(0, full_level).means(level_codes).in(levels),
    u8(backlight_report, 1, "level", "level").from(0, full_level).in(levels),
    u8(backlight_report, 2, "second_level", "second level")
        .from(0, full_level).in(levels).not_read(),

    outputs(digital_outputs, 2).also_at(1),
    outputs(digital_outputs_report, 2),

    u8(digest_request, 1, "interval", "interval").in(fifty_milliseconds),
    inputs(digest, 1),
    u16(digest, 2, "analog", "analog").in(millivolts),
    u16(digest, 4, "light", "light").in(millivolts),
    u16(digest, 6, "frequency", "frequency"),

    u8(oem_code, 1, "code", "code"),
    u8(oem_code_report, 1, "code", "code"),
};
// clang-format on

} // namespace Field_rows

/// Every field there is, ascending by identifier and first byte.
inline constexpr const auto& field_catalogue = Field_rows::rows;

/// The fields of a message, in the order of their bytes; none of an identifier that has none.
constexpr List<Field> fields_of(uchar id)
{
    const Field* begin = std::begin(field_catalogue);
    const Field* const last = std::end(field_catalogue);
    while (begin != last && begin->id != id)
        ++begin;
    const Field* end = begin;
    while (end != last && end->id == id)
        ++end;
    return {begin, end};
}

/// The field of a message by name, or null.
constexpr const Field* find_field(uchar id, std::string_view name)
{
    for (const Field& field : fields_of(id)) {
        if (name == field.name)
            return &field;
    }
    return nullptr;
}

/// A message with everything 0 but its identifier and the fields that are always the same.
constexpr Message blank_message(uchar id)
{
    Message blank = message(id);
    for (const Field& field : fields_of(id)) {
        if (field.role == Field_role::fixed)
            field.put(blank, field.least);
    }
    return blank;
}
