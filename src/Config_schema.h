#pragma once

#include "Power_state.h"

#include <QDomElement>
#include <QStringList>

#include <array>

/// What the configuration files hold, as rows, and the reading of one row's value.

/// One of the two files.
struct Config_file {
    const char* document; ///< the name of the document in memory
    const char* root;     ///< tag of the root element
};

constexpr Config_file power_config_file = {"PowerCntlML", "power"};
constexpr Config_file oem_profile_file = {"OEMprofile", "profile"};

/// The entries of the power configuration are in elements of this tag, one a power state. These
/// and the entries are told apart by an attribute.
constexpr const char* state_tag = "state";
constexpr const char* name_attribute = "name";

/// How an entry's text is understood. Numbers are what scanf reads: blanks before them and whatever
/// comes after them do not matter.
enum class Config_type {
    power,   ///< exactly "on" or "off", 1 or 0
    seconds, ///< "%d", negative for none
    byte,    ///< "%u", its low 8 bits
};

constexpr bool default_device_power = true;
constexpr uchar default_oem_code = 255;
constexpr uchar default_power_up_time = 15;

constexpr uchar unknown_oem_code = 255;      ///< of a terminal without a profile
constexpr uchar unknown_power_up_time = 255; ///< of a terminal without a profile

/// One value of each power state, the same ones for an entry that is in no state.
using Config_defaults = std::array<int, power_state_count>;

constexpr Config_defaults in_each_state(int value)
{
    return {value, value, value};
}

struct Config_row {
    const char* tag;
    const char* name; ///< value of the attribute; null where it is a power name, or where none is
    Config_type type;
    Config_defaults without_entry; ///< or with one whose text is not understood
    Config_defaults without_file;
    const char* meaning;    ///< as the manual says it
    const char* if_missing; ///< printed before the text that is not understood; null for nothing
    const char* label = nullptr; ///< of an entry of the OEM profile, where its value is shown
    const char* key = nullptr;   ///< the same for programs
};

constexpr const char* not_found = "NOT FOUND Text: ";

constexpr Config_row state_timeout_row = {
    "param",
    "timeout",
    Config_type::seconds,
    {default_state_timeouts[0], default_state_timeouts[1], default_state_timeouts[2]},
    {default_state_timeouts[0], default_state_timeouts[1], default_state_timeouts[2]},
    "How long the state lasts",
    not_found,
};
/// Of each device that has a power name.
constexpr Config_row device_power_row = {
    "device",           nullptr,
    Config_type::power, in_each_state(int{default_device_power}),
    in_each_state(0),   "Whether the device is on in this state",
    not_found,
};
constexpr Config_row oem_code_row = {
    "code",
    nullptr,
    Config_type::byte,
    in_each_state(default_oem_code),
    in_each_state(unknown_oem_code),
    "The OEM code of the terminal",
    nullptr,
    "OEM code",
    "oem_code",
};
constexpr Config_row power_up_time_row = {
    "RemoteSwitchPowerUpTime",
    nullptr,
    Config_type::byte,
    in_each_state(default_power_up_time),
    in_each_state(unknown_power_up_time),
    "The remote-switch power-up time, in the controller's units",
    nullptr,
    "remote-switch power-up time",
    "power_up_time",
};

/// All of the OEM profile's.
constexpr const Config_row* oem_profile_rows[] = {&oem_code_row, &power_up_time_row};

/// Where a value comes from.
enum class Config_source {
    no_file,      ///< the default without a file
    no_entry,     ///< the default: the file has no entry for it
    unrecognised, ///< the default: the entry's text is not understood
    entry,
};

/// One value of a file, and why.
struct Config_value {
    int value;
    Config_source source;
    int line;           ///< of the entry, from 1; 0 without one
    QString text;       ///< of the entry
    QByteArray message; ///< what the daemon prints about it, if anything

    /// With a default of the caller's in place of the row's.
    int value_or(int otherwise) const { return source == Config_source::entry ? value : otherwise; }
};

/// The value of a row in an element; the element is null when there is no such entry.
Config_value read_entry(const Config_row& row, int state, const QDomElement& entry, bool has_file);

/// How an entry is looked up: <tag>, or <tag name="name">.
QString config_key(const QString& tag);
QString config_key(const QString& tag, const QString& name);

/// The keys of all rows of the OEM profile.
QStringList oem_profile_keys();

/// The keys of the elements of the power configuration: of its states, and within each.
QStringList power_state_keys();
QStringList power_entry_keys(const QVector<QByteArray>& power_names);
