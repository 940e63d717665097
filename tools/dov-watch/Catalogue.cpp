#include "Catalogue.h"

const char* const service_name = "com.quorin.system";
const char* const unknown_version = "No PC Comms";

namespace {

constexpr Value_row nothing = {nullptr, nullptr, Reading::never, "", 0, on_off};

constexpr Value_row state_value(const char* getter, const char* signal, Reading reading)
{
    return {getter, signal, reading, "", 0, on_off};
}

constexpr Value_row number_value(const char* getter, Reading reading, const char* unit = "",
                                 int decimals = 0)
{
    return {getter, nullptr, reading, unit, decimals, on_off};
}

constexpr Kind threshold_input(const char* interface, const char* unit, int decimals, double span)
{
    return {interface,
            {{{"get_value", "val_changed", Reading::when_quiet, unit, decimals, on_off}, nothing}},
            {"min_pass", "max_pass"},
            span,
            true};
}

constexpr Kind plain_kind(const char* interface, Value_row first, Value_row second = nothing,
                          const char* event = nullptr, const char* other_event = nullptr)
{
    return {interface, {{first, second}}, {{event, other_event}}, 0.0, false};
}

constexpr Kind digital_input =
    plain_kind("device.io.input.digital", state_value("is_on", "changed", Reading::once));
constexpr Kind analog_input = threshold_input("device.io.input.analog", "V", 3, 0.02);
constexpr Kind frequency_input = threshold_input("device.io.input.frequency", "", 0, 4);
constexpr Kind voltage_input = threshold_input("device.io.input.voltage", "V", 3, 0.02);
constexpr Kind temperature_input = threshold_input("device.io.input.temperature", "\u00b0C", 0, 2);
constexpr Kind light_input = threshold_input("device.io.input.ambientlight", "%", 1, 1);

// The service declares signals for the outputs, the brightness and the power switches, and never
// sends them: their values have to be read.
constexpr Kind digital_output =
    plain_kind("device.io.output.digital", state_value("is_on", "changed", Reading::always),
               state_value("is_enabled", nullptr, Reading::always));
constexpr Kind frequency_output =
    plain_kind("device.io.output.frequency", {nullptr, "changed", Reading::never, "", 0, on_off});
constexpr Kind operating_voltage =
    plain_kind("device.operating_voltage", number_value("get_operating_voltage", Reading::always));
constexpr Kind dimmable =
    plain_kind("device.dimmable", number_value("get_brightness", Reading::always, "%", 1), nothing,
               "brightness_changed");
constexpr Kind power_switch = plain_kind(
    "device.power", {"is_suspended", "suspend_changed", Reading::always, "", 0, suspended_words});

// The buzzer's signal carries the volume without its fraction: the signal is the reason to read.
constexpr Kind buzzer =
    plain_kind("device.buzzer", number_value("get_volume", Reading::once, "", 1),
               number_value("get_buzzer_file", Reading::once), "volume_changed");

constexpr Kind ignition =
    plain_kind("power.ignition", state_value("is_on", "changed", Reading::once),
               number_value("get_mode", Reading::always));
constexpr Kind lock =
    plain_kind("power.lock", {"is_hold", "changed", Reading::once, "", 0, {"held", "free", true}});
constexpr Kind button = plain_kind("power.button", nothing, nothing, "short_press");
constexpr Kind atx = plain_kind("atx", nothing, nothing, "received");
constexpr Kind camera = plain_kind(
    "device.camera", {"is_connected", "changed", Reading::once, "", 0, {"present", "absent", true}},
    nothing, "connection");
constexpr Kind media = plain_kind("media", nothing, nothing, "connection");
constexpr Kind controller_version = plain_kind("version", number_value("get", Reading::always));
constexpr Kind system_version = plain_kind("version", number_value("get", Reading::once));
constexpr Kind configuration = plain_kind("configuration", number_value("get", Reading::always));
constexpr Kind oem_profile = plain_kind("oem_profile", number_value("get_code", Reading::always));

constexpr Object_row object_rows[] = {
    {"Digital inputs", "device/io/input/digital/%1", "input %1", 4, &digital_input},
    {"Measured inputs", "device/io/input/analog/0", "analog", 1, &analog_input},
    {"Measured inputs", "device/io/input/frequency/0", "frequency", 1, &frequency_input},
    {"Measured inputs", "device/io/input/ambientlight/0", "ambient light", 1, &light_input},
    {"Supply voltages", "device/io/input/voltage/%1", "voltage %1", 6, &voltage_input},
    {"Temperatures", "device/io/input/temperature/%1", "temperature %1", 6, &temperature_input},
    {"Outputs", "device/io/output/digital/%1", "output %1", 4, &digital_output},
    {"Outputs", "device/io/output/frequency/0", "frequency out", 1, &frequency_output},
    {"Outputs", "device/operating_voltage", "supply code", 1, &operating_voltage},
    {"Display and sound", "device/display/backlight", "backlight", 1, &dimmable},
    {"Display and sound", "device/buzzer", "buzzer", 1, &buzzer},
    {"Terminal", "power/ignition", "ignition", 1, &ignition},
    {"Terminal", "power/button", "power button", 1, &button},
    {"Terminal", "power/lock", "power lock", 1, &lock},
    {"Terminal", "atx", "ATX", 1, &atx},
    {"Terminal", "device/camera", "camera", 1, &camera},
    {"Terminal", "media", "media", 1, &media},
    {"Power switches", "device/system/power", "system", 1, &power_switch},
    {"Power switches", "device/lvds/power", "LVDS", 1, &power_switch},
    {"Power switches", "device/display/power", "display", 1, &power_switch},
    {"Power switches", "device/display/backlight/power", "backlight", 1, &power_switch},
    {"Power switches", "device/can/%1/power", "CAN %1", 4, &power_switch},
    {"Power switches", "device/eth/power", "Ethernet", 1, &power_switch},
    {"Power switches", "device/video/power", "video", 1, &power_switch},
    {"Power switches", "device/camera/power", "camera", 1, &power_switch},
    {"Power switches", "device/uart/power", "UART", 1, &power_switch},
    {"Power switches", "device/usb/power", "USB", 1, &power_switch},
    {"Versions", "version/bootloader", "firmware", 1, &controller_version},
    {"Versions", "version/hardware", "hardware", 1, &controller_version},
    {"Versions", "version/unique_device_id", "unique id", 1, &controller_version},
    {"Versions", "version/kernel", "kernel", 1, &system_version},
    {"Versions", "version/serial_number", "serial number", 1, &system_version},
    {"Versions", "version/customer_part_number", "part number", 1, &system_version},
    {"Controller settings", "oem_profile", "OEM code", 1, &oem_profile},
    {"Controller settings", "configuration", "configuration", 1, &configuration},
    {"LEDs", "multi_led/%1", "LED %1", 20, &dimmable},
};

QString numbered(const char* pattern, int index)
{
    const QString text = QString::fromUtf8(pattern);
    return text.contains(QStringLiteral("%1")) ? text.arg(index) : text;
}

} // namespace

QString backlight_path()
{
    return QStringLiteral("/com/quorin/system/device/display/backlight");
}

std::vector<Catalogue_object> catalogue()
{
    std::vector<Catalogue_object> objects;
    for (const Object_row& row : object_rows) {
        for (int i = 0; i < row.count; ++i)
            objects.push_back(
                {QString::fromUtf8(row.section),
                 QStringLiteral("/com/quorin/system/") + numbered(row.path, i),
                 numbered(row.label, i),
                 QStringLiteral("com.quorin.system.") + QString::fromUtf8(row.kind->interface),
                 row.kind});
    }
    return objects;
}

int value_count(const Kind& kind)
{
    int count = 0;
    for (const Value_row& row : kind.values)
        count += row.getter != nullptr || row.signal != nullptr ? 1 : 0;
    return count;
}

bool is_switched_output(const Kind& kind)
{
    return &kind == &digital_output;
}

bool is_controller_version(const Kind& kind)
{
    return &kind == &controller_version;
}
