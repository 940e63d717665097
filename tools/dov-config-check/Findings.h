#pragma once

#include "Config_schema.h"

#include <QString>
#include <QVector>

/// What is wrong with the configuration. The number is the program's exit status.
enum class Problem_kind : int {
    no_effect = 3, ///< an entry that changes nothing
    rejected = 4,  ///< a file that the daemon does not take
    power_off = 5, ///< the terminal switches itself off at start
};

struct Problem {
    Problem_kind kind;
    QString file;
    int line;     ///< from 1; 0 when it is none in particular
    QString text; ///< one line, without file and line
};

struct Device_setting {
    QString device;
    Config_value on; ///< 1 or 0
};

/// What the daemon makes of one power state.
struct State_settings {
    QString state;
    Config_value timeout; ///< seconds, negative for none
    QVector<Device_setting> devices;
};

/// The power mask of a device: bit n set when it is on in power state n.
struct Mask {
    QString device;
    int mask;
};

/// What the daemon makes of an entry of the OEM profile.
struct Profile_setting {
    const Config_row* row;
    Config_value value;
};

/// What the daemon will do with its configuration files.
struct Findings {
    QVector<Problem> problems; ///< the gravest first
    QVector<State_settings> states;
    QVector<Mask> masks;
    QVector<Profile_setting> profile; ///< in the order of oem_profile_rows
};

/// Reads both files with the daemon's own reader. Prints nothing.
Findings check_files(const QString& power_config, const QString& oem_profile);

/// Text of a file as part of one line: shortened, and without control characters.
QString on_one_line(const QString& text);
