#pragma once

#include "Bus_names.h"
#include "Device_object.h"
#include "Object_kinds.h"

#include <QByteArray>
#include <QString>
#include <QVector>

#include <vector>

/// Every object on the bus: where it is, what it is called, and of which kind it is. The one place
/// that says so, for the daemon, which adds the classes, and for everything that looks at it from
/// outside.

/// Where an object belongs when all are shown, in this order.
enum class Section : unsigned char {
    digital_inputs,
    measured_inputs,
    supply_voltages,
    temperatures,
    outputs,
    display_and_sound,
    terminal,
    power_switches,
    versions,
    controller_settings,
    leds,
};

/// By Section.
inline constexpr const char* section_titles[] = {
    "Digital inputs",
    "Measured inputs",
    "Supply voltages",
    "Temperatures",
    "Outputs",
    "Display and sound",
    "Terminal",
    "Power switches",
    "Versions",
    "Controller settings",
    "LEDs",
};

/// Objects of one kind at paths that differ in a number.
struct Object_row {
    Device_object first;
    unsigned count;
    const char* path;  ///< behind the prefix; %1 is the index, from 0
    const char* title; ///< as in "voltage 3"; %1 as in the path
    Section section;
    unsigned place; ///< among the rows of the section, from 0
    const Object_kind* kind;
    const char* power_name = nullptr; ///< in the power configuration; %1 is the index, from 1
};

/// In the order of Device_object, in which the objects are created.
inline constexpr Object_row object_rows[] = {
    {Device_object::digital_input_0, 4, "device/io/input/digital/%1", "input %1",
     Section::digital_inputs, 0, &kinds::digital_input},
    {Device_object::analog_input_0, 1, "device/io/input/analog/0", "analog",
     Section::measured_inputs, 0, &kinds::analog_input},
    {Device_object::frequency_input_0, 1, "device/io/input/frequency/0", "frequency",
     Section::measured_inputs, 1, &kinds::frequency_input},
    {Device_object::voltage_input_0, 6, "device/io/input/voltage/%1", "voltage %1",
     Section::supply_voltages, 0, &kinds::voltage_input},
    {Device_object::temperature_input_0, 6, "device/io/input/temperature/%1", "temperature %1",
     Section::temperatures, 0, &kinds::temperature_input},
    {Device_object::frequency_output_0, 1, "device/io/output/frequency/0", "frequency out",
     Section::outputs, 1, &kinds::frequency_output},
    {Device_object::digital_output_0, 4, "device/io/output/digital/%1", "output %1",
     Section::outputs, 0, &kinds::digital_output},
    {Device_object::ambient_light_input_0, 1, "device/io/input/ambientlight/0", "ambient light",
     Section::measured_inputs, 2, &kinds::ambient_light_input},
    {Device_object::system_power, 1, "device/system/power", "system", Section::power_switches, 0,
     &kinds::power_switch, "system"},
    {Device_object::lvds_power, 1, "device/lvds/power", "LVDS", Section::power_switches, 1,
     &kinds::power_switch, "display"},
    {Device_object::display_power, 1, "device/display/power", "display", Section::power_switches, 2,
     &kinds::power_switch, "display"},
    {Device_object::display_backlight, 1, "device/display/backlight", "backlight",
     Section::display_and_sound, 0, &kinds::backlight},
    {Device_object::display_backlight_power, 1, "device/display/backlight/power", "backlight",
     Section::power_switches, 3, &kinds::power_switch, "display"},
    {Device_object::operating_voltage, 1, "device/operating_voltage", "supply code",
     Section::outputs, 2, &kinds::operating_voltage},
    {Device_object::multi_led_0, 20, "multi_led/%1", "LED %1", Section::leds, 0, &kinds::led},
    {Device_object::buzzer, 1, "device/buzzer", "buzzer", Section::display_and_sound, 1,
     &kinds::buzzer},
    {Device_object::ignition, 1, "power/ignition", "ignition", Section::terminal, 0,
     &kinds::ignition},
    {Device_object::lock, 1, "power/lock", "power lock", Section::terminal, 2, &kinds::power_lock},
    {Device_object::power_button, 1, "power/button", "power button", Section::terminal, 1,
     &kinds::power_button},
    {Device_object::can_power_0, 4, "device/can/%1/power", "CAN %1", Section::power_switches, 4,
     &kinds::power_switch, "can_%1"},
    {Device_object::eth_power, 1, "device/eth/power", "Ethernet", Section::power_switches, 5,
     &kinds::power_switch, "eth"},
    {Device_object::video_power, 1, "device/video/power", "video", Section::power_switches, 6,
     &kinds::power_switch, "video"},
    {Device_object::camera_power, 1, "device/camera/power", "camera", Section::power_switches, 7,
     &kinds::power_switch, "camera"},
    {Device_object::uart_power, 1, "device/uart/power", "UART", Section::power_switches, 8,
     &kinds::power_switch, "uart_1"},
    {Device_object::usb_power, 1, "device/usb/power", "USB", Section::power_switches, 9,
     &kinds::power_switch, "usb_1"},
    {Device_object::camera, 1, "device/camera", "camera", Section::terminal, 4, &kinds::camera},
    {Device_object::firmware_version, 1, "version/bootloader", "firmware", Section::versions, 0,
     &kinds::controller_version},
    {Device_object::kernel_version, 1, "version/kernel", "kernel", Section::versions, 3,
     &kinds::system_version},
    {Device_object::unique_device_id, 1, "version/unique_device_id", "unique id", Section::versions,
     2, &kinds::controller_version},
    {Device_object::serial_number, 1, "version/serial_number", "serial number", Section::versions,
     4, &kinds::system_version},
    {Device_object::customer_part_number, 1, "version/customer_part_number", "part number",
     Section::versions, 5, &kinds::system_version},
    {Device_object::hardware_version, 1, "version/hardware", "hardware", Section::versions, 1,
     &kinds::controller_version},
    {Device_object::media, 1, "media", "media", Section::terminal, 5, &kinds::media},
    {Device_object::configuration, 1, "configuration", "configuration",
     Section::controller_settings, 1, &kinds::configuration},
    {Device_object::oem_profile, 1, "oem_profile", "OEM code", Section::controller_settings, 0,
     &kinds::oem_profile},
    {Device_object::atx, 1, "atx", "ATX", Section::terminal, 3, &kinds::atx},
};

/// Whether the rows hold every object once, in order.
constexpr bool rows_hold_every_object()
{
    std::size_t object = 0;
    for (const Object_row& row : object_rows) {
        if (static_cast<std::size_t>(row.first) != object)
            return false;
        object += row.count;
    }
    return object == device_object_count;
}
static_assert(rows_hold_every_object(), "Device_object and object_rows differ");

constexpr Device_object object_of(const Object_row& row, unsigned index)
{
    return static_cast<Device_object>(static_cast<unsigned>(row.first) + index);
}

/// Behind the prefix.
QString relative_path(const Object_row& row, unsigned index);

/// What the power configuration calls the device; null when it knows nothing of it.
QByteArray power_name(const Object_row& row, unsigned index);

/// Each of them once, in the order of the rows.
QVector<QByteArray> power_names();

/// One object, expanded from its row.
struct Catalogue_object {
    Device_object object;
    QString path;      ///< whole
    QString interface; ///< whole
    QString title;
    Section section;
    const Object_kind* kind;
};

/// Every object, in the order of creation.
std::vector<Catalogue_object> catalogue();

/// Every object, in the order in which they are shown: by section and place.
std::vector<Catalogue_object> catalogue_as_shown();
