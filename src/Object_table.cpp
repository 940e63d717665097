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
    Maker make;
    uint count = 1;
    uint first = 0;                        ///< channel or power kind of the first
    const char* power_name = nullptr;      ///< %1 is the index, from 1
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
    {"device/io/input/digital/%1", indexed<Digital_input_interface>, 4},
    {"device/io/input/analog/0", analog_input},
    {"device/io/input/frequency/0", plain<Frequency_input_interface>},
    {"device/io/input/voltage/%1", indexed<Voltage_input_interface>, 6},
    {"device/io/input/temperature/%1", indexed<Temperature_input_interface>, 6},
    {"device/io/output/frequency/0", plain<Radar_output_interface>},
    {"device/io/output/digital/%1", indexed<Digital_output_interface>, 4},
    {"device/io/input/ambientlight/0", plain<Ambientlight_input_interface>},
    {"device/system/power", power_switch, 1, Power_interface::kind_system, "system"},
    {"device/lvds/power", power_switch, 1, 1, "display"},
    {"device/display/power", power_switch, 1, 2, "display"},
    {"device/display/backlight", plain<LCD_backlight_interface>},
    {"device/display/backlight/power", power_switch, 1, Power_interface::kind_backlight, "display"},
    {"device/operating_voltage", plain<Operating_voltage_interface>},
    {"multi_led/%1", plain<Dimmable_interface>, 20},
    {"device/buzzer", plain<Buzzer_interface>},
    {"power/ignition", plain<Ignition_interface>},
    {"power/lock", plain<Lock_interface>},
    {"power/button", plain<Power_button_interface>},
    {"device/can/%1/power", power_switch, 4, 4, "can_%1"},
    {"device/eth/power", power_switch, 1, 8, "eth"},
    {"device/video/power", power_switch, 1, 9, "video"},
    {"device/camera/power", power_switch, 1, 10, "camera"},
    {"device/uart/power", power_switch, 1, 11, "uart_1"},
    {"device/usb/power", power_switch, 1, 12, "usb_1"},
    {"device/camera", plain<Camera_interface>},
    {"version/bootloader", plain<PC_version_interface>},
    {"version/kernel", command_version, 1, 0, nullptr, &Paths::kernel_version},
    {"version/unique_device_id", plain<UID_version_interface>},
    {"version/serial_number", command_version, 1, 0, nullptr, &Paths::serial_number},
    {"version/customer_part_number", command_version, 1, 0, nullptr, &Paths::part_number},
    {"version/hardware", plain<HW_version_interface>},
    {"media", plain<Media_interface>},
    {"configuration", plain<Configuration_interface>},
    {"oem_profile", plain<OEMprofile_interface>},
    {"atx", plain<ATX_interface>},
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
    return QString(QLatin1String(row.path)).replace(QLatin1String("%1"), QString::number(index));
}

QByteArray power_name(const Object_row& row, uint index)
{
    if (row.power_name == nullptr)
        return {};
    return QByteArray(row.power_name).replace("%1", QByteArray::number(index + 1));
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
