#pragma once

#include "Tool_command_line.h"

#include <QString>
#include <QStringList>

#include <optional>

/// The command line.
struct Options {
    enum class On_end { automatic, leave, wait };

    QString address; ///< of the bus; empty for the machine's system bus
    QString filter;  ///< only objects whose path or name contains it; empty for all
    int interval_ms = 1000;
    QString metrics;   ///< the file that metrics are written to; empty for none
    QString tap;       ///< the status file of a tap; empty for none
    bool once = false; ///< read everything, and end
    bool json = false;
    bool lines = false; ///< lines also on a terminal
    bool ascii = false;
    On_end on_end = On_end::automatic; ///< when the service or the bus goes away
    /// Set in every threshold input while watching, and set back at the end.
    std::optional<unsigned> report_ms;
    std::optional<double> hysteresis;
};

Tool_request parse_command_line(const QStringList& arguments, Options& options);
