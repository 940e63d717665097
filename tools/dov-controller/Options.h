#pragma once

#include "Bench_controller.h"
#include "Command.h"

#include <QString>
#include <QStringList>
#include <QVector>

/// The command line of dov-controller.
struct Options {
    Bench_controller::Place place;
    QString script;
    QString record;
    QString replay;
    double speed = 1; ///< of the replay; 0: no pauses
    bool loop = false;
    bool check = false;       ///< only check script and recording
    bool wait = false;        ///< script and replay begin when the host is heard
    bool exit_at_end = false; ///< of script or replay
    bool verbose = false;
    QVector<Action> commands; ///< to be done before the start
};

/// What the command line asks for: options to run with, or a text to print and leave.
struct Command_line {
    Options options;
    QString text;   ///< help, version or an error; empty to run
    int status = 0; ///< to leave with, when there is a text
};

Command_line parse_command_line(const QStringList& arguments);
