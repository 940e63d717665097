#pragma once

#include <QStringList>
#include <QVector>

/// What a device does in one power state, and why.
struct Device_outcome {
    QString device;
    bool on;
    QString reason;
};

/// What the daemon makes of one power state.
struct State_outcome {
    QString state;
    int timeout; ///< seconds, negative for none
    QString timeout_reason;
    QVector<Device_outcome> devices;
};

/// The power mask of a device: bit n set when it is on in power state n.
struct Mask {
    QString device;
    int mask;
};

/// What the daemon will do with its configuration files.
struct Findings {
    QStringList problems; ///< why the files should not be used; the gravest first
    QVector<State_outcome> states;
    QVector<Mask> masks;
    int oem_code;
    int power_up_time;
};

/// Reads both files with the daemon's own reader. Prints what that reader prints.
Findings check_files(const QString& power_config, const QString& oem_profile);
