#include "Object_table.h"

#include "ATX_interface.h"
#include "Ambientlight_input_interface.h"
#include "Analog_input_interface.h"
#include "Buzzer_interface.h"
#include "Camera_interface.h"
#include "Cmd_version_interface.h"
#include "Configuration_interface.h"
#include "DBus_daemon.h"
#include "Digital_input_interface.h"
#include "Digital_output_interface.h"
#include "Dimmable_interface.h"
#include "Frequency_input_interface.h"
#include "HW_version_interface.h"
#include "Ignition_interface.h"
#include "LCD_backlight_interface.h"
#include "Lock_interface.h"
#include "Media_interface.h"
#include "OEMprofile_interface.h"
#include "Operating_voltage_interface.h"
#include "PC_version_interface.h"
#include "Paths.h"
#include "Power_button_interface.h"
#include "Power_interface.h"
#include "Radar_output_interface.h"
#include "Temperature_input_interface.h"
#include "UID_version_interface.h"
#include "Voltage_input_interface.h"

namespace {

struct Object_row;

/// What the maker of one object is told.
struct Place {
    DBus_daemon* daemon;
    QString path;          ///< relative
    uint number;           ///< the row's first number and up
    QByteArray power_name; ///< null for none
    QString command;       ///< null for none
};

using Maker = Interface_base* (*)(const Place& place);

/// One kind of object at one or more paths.
struct Object_row {
    const char* path; ///< relative; %1 is the index, from 0
    uint count;
    uint first;             ///< channel or power kind of the first
    const char* power_name; ///< %1 is the index, from 1; null for none
    Maker make;
    const char* Paths::*command = nullptr; ///< whose output the object publishes
};

template <class Object>
Interface_base* plain(const Place& place)
{
    return new Object(place.daemon, place.path);
}

template <class Object>
Interface_base* indexed(const Place& place)
{
    return new Object(place.daemon, place.path, place.number);
}

Interface_base* analog_input(const Place& place)
{
    return new Analog_input_interface(place.daemon, place.path, true);
}

Interface_base* power_switch(const Place& place)
{
    return new Power_interface(place.daemon, place.path, static_cast<int>(place.number),
                               place.power_name.constData());
}

Interface_base* command_version(const Place& place)
{
    return new Cmd_version_interface(place.daemon, place.command, place.path);
}

/// In the order of creation, which is that of Device_object.
constexpr Object_row object_rows[] = {
    {"device/io/input/digital/%1", 4, 0, nullptr, indexed<Digital_input_interface>},
    {"device/io/input/analog/0", 1, 0, nullptr, analog_input},
    {"device/io/input/frequency/0", 1, 0, nullptr, plain<Frequency_input_interface>},
    {"device/io/input/voltage/%1", 6, 0, nullptr, indexed<Voltage_input_interface>},
    {"device/io/input/temperature/%1", 6, 0, nullptr, indexed<Temperature_input_interface>},
    {"device/io/output/frequency/0", 1, 0, nullptr, plain<Radar_output_interface>},
    {"device/io/output/digital/%1", 4, 0, nullptr, indexed<Digital_output_interface>},
    {"device/io/input/ambientlight/0", 1, 0, nullptr, plain<Ambientlight_input_interface>},
    {"device/system/power", 1, Power_interface::kind_system, "system", power_switch},
    {"device/lvds/power", 1, 1, "display", power_switch},
    {"device/display/power", 1, 2, "display", power_switch},
    {"device/display/backlight", 1, 0, nullptr, plain<LCD_backlight_interface>},
    {"device/display/backlight/power", 1, Power_interface::kind_backlight, "display", power_switch},
    {"device/operating_voltage", 1, 0, nullptr, plain<Operating_voltage_interface>},
    {"multi_led/%1", 20, 0, nullptr, plain<Dimmable_interface>},
    {"device/buzzer", 1, 0, nullptr, plain<Buzzer_interface>},
    {"power/ignition", 1, 0, nullptr, plain<Ignition_interface>},
    {"power/lock", 1, 0, nullptr, plain<Lock_interface>},
    {"power/button", 1, 0, nullptr, plain<Power_button_interface>},
    {"device/can/%1/power", 4, 4, "can_%1", power_switch},
    {"device/eth/power", 1, 8, "eth", power_switch},
    {"device/video/power", 1, 9, "video", power_switch},
    {"device/camera/power", 1, 10, "camera", power_switch},
    {"device/uart/power", 1, 11, "uart_1", power_switch},
    {"device/usb/power", 1, 12, "usb_1", power_switch},
    {"device/camera", 1, 0, nullptr, plain<Camera_interface>},
    {"version/bootloader", 1, 0, nullptr, plain<PC_version_interface>},
    {"version/kernel", 1, 0, nullptr, command_version, &Paths::kernel_version},
    {"version/unique_device_id", 1, 0, nullptr, plain<UID_version_interface>},
    {"version/serial_number", 1, 0, nullptr, command_version, &Paths::serial_number},
    {"version/customer_part_number", 1, 0, nullptr, command_version, &Paths::part_number},
    {"version/hardware", 1, 0, nullptr, plain<HW_version_interface>},
    {"media", 1, 0, nullptr, plain<Media_interface>},
    {"configuration", 1, 0, nullptr, plain<Configuration_interface>},
    {"oem_profile", 1, 0, nullptr, plain<OEMprofile_interface>},
    {"atx", 1, 0, nullptr, plain<ATX_interface>},
};

constexpr std::size_t object_count()
{
    std::size_t count = 0;
    for (const Object_row& row : object_rows)
        count += row.count;
    return count;
}
static_assert(object_count() == device_object_count && object_count() == 74);

QString object_path(const Object_row& row, uint index)
{
    const QString pattern = QLatin1String(row.path);
    return row.count == 1 ? pattern : pattern.arg(index);
}

QByteArray power_name(const Object_row& row, uint index)
{
    if (row.power_name == nullptr)
        return {};
    const QString pattern = QLatin1String(row.power_name);
    return (row.count == 1 ? pattern : pattern.arg(index + 1)).toUtf8();
}

QString command(const Object_row& row)
{
    return row.command == nullptr ? QString() : QString::fromUtf8(paths().*row.command);
}

/// Starts what the command versions publish, all at once and beside everything else.
void start_commands()
{
    for (const Object_row& row : object_rows) {
        if (row.command != nullptr)
            Cmd_version_interface::start(command(row));
    }
}

} // namespace

void create_objects(DBus_daemon* daemon)
{
    std::size_t object = 0;
    for (const Object_row& row : object_rows) {
        // As early as possible, but not in the way of the first requests, the digital outputs'.
        if (object == static_cast<std::size_t>(Device_object::ambient_light_input_0))
            start_commands();
        for (uint index = 0; index < row.count; ++index) {
            const Place place = {daemon, object_path(row, index), row.first + index,
                                 power_name(row, index), command(row)};
            daemon->devices()[static_cast<Device_object>(object++)] = row.make(place);
        }
    }
}

QVector<QByteArray> power_names()
{
    QVector<QByteArray> names;
    for (const Object_row& row : object_rows) {
        for (uint index = 0; index < row.count; ++index) {
            const QByteArray name = power_name(row, index);
            if (!name.isNull() && !names.contains(name))
                names.append(name);
        }
    }
    return names;
}
