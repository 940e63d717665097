#pragma once

#include "Object_kind.h"

/// Every kind of object on the bus. A kind that is not used by a row of the catalogue is none.
namespace kinds {

constexpr Start_value none_until_told = Start_value(double{no_byte});

// The service declares signals for the outputs, the brightness and the power switches, and never
// sends them: their values have to be read.
constexpr bool never_sent = false;

constexpr Value_row state(const char* getter, const char* signal, Reading reading, bool start,
                          Truth_words words = on_off)
{
    return {getter, signal, "b", reading, {"", 0, words}, Start_value(start)};
}

constexpr Value_row measured(const char* unit, int decimals)
{
    return {"get_value",      "val_changed",           "d", Reading::when_quiet,
            {unit, decimals}, Start_value(no_reading), true};
}

constexpr Setting_row hysteresis = {"hysteresis", "d", Start_value(start_hysteresis)};
constexpr Setting_row max_value = {"max_value", "d", Start_value(start_max_value)};
constexpr Setting_row min_value = {"min_value", "d", Start_value(start_min_value)};
constexpr Setting_row time_out = {"time_out", "u", Start_value(0.0)};

constexpr Object_kind limited_input(const char* name, const char* interface, const char* unit,
                                    int decimals, bool is_in_digest, double spark_span)
{
    return {name,
            interface,
            {measured(unit, decimals)},
            {{"val_changed"}, {"min_pass"}, {"max_pass"}},
            {hysteresis, max_value, min_value, time_out},
            is_in_digest,
            spark_span};
}

inline constexpr Object_kind digital_input = {
    "digital_input",
    "device.io.input.digital",
    {state("is_on", "changed", Reading::once, false)},
    {{"changed"}},
    {},
    true,
};

inline constexpr Object_kind analog_input =
    limited_input("analog_input", "device.io.input.analog", "V", 3, true, 0.02);

inline constexpr Object_kind frequency_input = {
    "frequency_input",
    "device.io.input.frequency",
    {measured("", 0)},
    {{"val_changed"}},
    {hysteresis, time_out},
    true,
    4.0,
};

inline constexpr Object_kind voltage_input =
    limited_input("voltage_input", "device.io.input.voltage", "V", 3, false, 0.02);

inline constexpr Object_kind temperature_input =
    limited_input("temperature_input", "device.io.input.temperature", "\u00b0C", 0, false, 2.0);

inline constexpr Object_kind ambient_light_input =
    limited_input("ambient_light_input", "device.io.input.ambientlight", "%", 1, true, 1.0);

inline constexpr Object_kind digital_output = {
    "digital_output",
    "device.io.output.digital",
    {state("is_on", "changed", Reading::always, false),
     state("is_enabled", nullptr, Reading::always, true)},
    {{"changed", never_sent}},
};

inline constexpr Object_kind frequency_output = {
    "frequency_output",
    "device.io.output.frequency",
    {{nullptr, "changed", "u"}},
    {{"changed", never_sent}},
};

inline constexpr Object_kind operating_voltage = {
    "operating_voltage",
    "device.operating_voltage",
    {{"get_operating_voltage", nullptr, "u", Reading::always, {}, Start_value(0.0)}},
    {},
};

constexpr Object_kind dimmable(const char* name, double start)
{
    return {name,
            "device.dimmable",
            {{"get_brightness", nullptr, "d", Reading::always, {"%", 1}, Start_value(start)}},
            {{"brightness_changed", never_sent}}};
}

inline constexpr Object_kind backlight = dimmable("backlight", 100.0);
inline constexpr Object_kind led = dimmable("led", 0.0);

inline constexpr Object_kind power_switch = {
    "power_switch",
    "device.power",
    {{"is_suspended", "suspend_changed", "b", Reading::always, {"", 0, {"off", "on", false}}}},
    {{"suspend_changed", never_sent}},
};

// The buzzer's signal carries the volume without its fraction: the signal is the reason to read.
inline constexpr Object_kind buzzer = {
    "buzzer",
    "device.buzzer",
    {{"get_volume", nullptr, "d", Reading::once, {"", 1}, Start_value(0.0)},
     {"get_buzzer_file", nullptr, "s", Reading::once}},
    {{"volume_changed"}},
};

inline constexpr Object_kind ignition = {
    "ignition",
    "power.ignition",
    {state("is_on", "changed", Reading::once, true),
     {"get_mode", nullptr, "y", Reading::always, {}, none_until_told, true}},
    {{"changed"}},
};

inline constexpr Object_kind power_lock = {
    "power_lock",
    "power.lock",
    {state("is_hold", "changed", Reading::once, false, {"held", "free", true})},
    {{"changed", never_sent}},
};

inline constexpr Object_kind power_button = {"power_button", "power.button", {}, {{"short_press"}}};

inline constexpr Object_kind atx = {"atx", "atx", {}, {{"received"}}};

inline constexpr Object_kind camera = {
    "camera",
    "device.camera",
    {state("is_connected", "changed", Reading::once, false, {"present", "absent", true})},
    {{"changed", never_sent}, {"connection", never_sent}},
};

inline constexpr Object_kind media = {"media", "media", {}, {{"connection"}}};

inline constexpr Object_kind controller_version = {
    "controller_version",
    "version",
    {{"get", nullptr, "s", Reading::always, {}, Start_value(unknown_version), true}},
    {},
};

inline constexpr Object_kind system_version = {
    "system_version",
    "version",
    {{"get", nullptr, "s", Reading::once}},
    {},
};

inline constexpr Object_kind configuration = {
    "configuration",
    "configuration",
    {{"get", nullptr, "yyy", Reading::always, {}, none_until_told, true}},
    {},
};

inline constexpr Object_kind oem_profile = {
    "oem_profile",
    "oem_profile",
    {{"get_code", nullptr, "y", Reading::always, {}, none_until_told, true}},
    {},
};

} // namespace kinds
