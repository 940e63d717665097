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
#include "Object_catalogue.h"
#include "Operating_voltage_interface.h"
#include "PC_version_interface.h"
#include "Paths.h"
#include "Power_button_interface.h"
#include "Power_interface.h"
#include "Radar_output_interface.h"
#include "Temperature_input_interface.h"
#include "UID_version_interface.h"
#include "Version_command.h"
#include "Voltage_input_interface.h"

#include <array>
#include <iterator>
#include <optional>

namespace {

/// What the maker of one object is told.
struct Place {
    DBus_daemon* daemon;
    QString path;             ///< relative
    uint number;              ///< the row's first number and up
    QByteArray power_name;    ///< null for none
    Version_command* command; ///< started; null for none
};

using Maker = Interface_base* (*)(const Place& place);

/// What makes the objects of a row of the catalogue, and what else their classes are told: a
/// number, which those that have none ignore, or whose output they publish.
struct Maker_row {
    constexpr Maker_row(Device_object row, Maker maker, uint number = 0)
        : make(maker), first_number(number), first(row)
    {
    }

    constexpr Maker_row(Device_object row, Maker maker, const char* Paths::*output)
        : Maker_row(row, maker)
    {
        command = output;
    }

    Maker make;
    const char* Paths::*command = nullptr;
    uint first_number;   ///< channel or power kind of the first
    Device_object first; ///< of the catalogue's row
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
    return new Cmd_version_interface(place.daemon, *place.command, place.path);
}

using D = Device_object;

/// A row for each of the catalogue's, in the same order.
constexpr Maker_row maker_rows[] = {
    {D::digital_input_0, indexed<Digital_input_interface>},
    {D::analog_input_0, analog_input},
    {D::frequency_input_0, plain<Frequency_input_interface>},
    {D::voltage_input_0, indexed<Voltage_input_interface>},
    {D::temperature_input_0, indexed<Temperature_input_interface>},
    {D::frequency_output_0, plain<Radar_output_interface>},
    {D::digital_output_0, indexed<Digital_output_interface>},
    {D::ambient_light_input_0, plain<Ambientlight_input_interface>},
    {D::system_power, power_switch, Power_interface::kind_system},
    {D::lvds_power, power_switch, 1},
    {D::display_power, power_switch, 2},
    {D::display_backlight, plain<LCD_backlight_interface>},
    {D::display_backlight_power, power_switch, Power_interface::kind_backlight},
    {D::operating_voltage, plain<Operating_voltage_interface>},
    {D::multi_led_0, plain<Dimmable_interface>},
    {D::buzzer, plain<Buzzer_interface>},
    {D::ignition, plain<Ignition_interface>},
    {D::lock, plain<Lock_interface>},
    {D::power_button, plain<Power_button_interface>},
    {D::can_power_0, power_switch, 4},
    {D::eth_power, power_switch, 8},
    {D::video_power, power_switch, 9},
    {D::camera_power, power_switch, 10},
    {D::uart_power, power_switch, 11},
    {D::usb_power, power_switch, 12},
    {D::camera, plain<Camera_interface>},
    {D::firmware_version, plain<PC_version_interface>},
    {D::kernel_version, command_version, &Paths::kernel_version},
    {D::unique_device_id, plain<UID_version_interface>},
    {D::serial_number, command_version, &Paths::serial_number},
    {D::customer_part_number, command_version, &Paths::part_number},
    {D::hardware_version, plain<HW_version_interface>},
    {D::media, plain<Media_interface>},
    {D::configuration, plain<Configuration_interface>},
    {D::oem_profile, plain<OEMprofile_interface>},
    {D::atx, plain<ATX_interface>},
};

constexpr bool rows_have_their_makers()
{
    if (std::size(maker_rows) != std::size(object_rows))
        return false;
    for (std::size_t i = 0; i < std::size(maker_rows); ++i)
        if (maker_rows[i].first != object_rows[i].first)
            return false;
    return true;
}
static_assert(rows_have_their_makers(), "object_rows and maker_rows differ");

/// The row behind which all rows' commands start: as early as they can, but not in the way of the
/// first requests.
constexpr Device_object commands_start_behind = D::digital_output_0;

constexpr bool commands_start_before_their_objects()
{
    bool started = false;
    for (const Maker_row& row : maker_rows) {
        if (row.command != nullptr && !started)
            return false;
        started = started || row.first == commands_start_behind;
    }
    return true;
}
static_assert(commands_start_before_their_objects(), "no command runs for a row's object");

/// The started command of each row that has one.
using Started_commands = std::array<std::optional<Version_command>, std::size(maker_rows)>;

/// Starts them, all at once and beside everything else.
void start(Started_commands& commands)
{
    for (std::size_t i = 0; i < std::size(maker_rows); ++i) {
        if (maker_rows[i].command != nullptr)
            commands[i].emplace(QString::fromUtf8(paths().*maker_rows[i].command));
    }
}

} // namespace

void create_objects(DBus_daemon* daemon)
{
    Started_commands commands;
    for (std::size_t i = 0; i < std::size(object_rows); ++i) {
        const Object_row& row = object_rows[i];
        const Maker_row& maker = maker_rows[i];
        Version_command* const command = commands[i] ? &*commands[i] : nullptr;
        for (uint index = 0; index < row.count; ++index) {
            const Place place = {daemon, relative_path(row, index), maker.first_number + index,
                                 power_name(row, index), command};
            daemon->devices()[object_of(row, index)] = maker.make(place);
        }
        if (row.first == commands_start_behind)
            start(commands);
    }
}
