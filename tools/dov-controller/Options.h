#pragma once

#include "Bench_controller.h"
#include "Command.h"
#include "Tool_command_line.h"

#include <QString>
#include <QStringList>
#include <QVector>

/// The command line of dov-controller.
struct Options {
    Bench_controller::Place place;
    QString socket; ///< where commands are taken as well; empty for nowhere
    QString script;
    QString record;
    QString replay;
    double speed = 1;    ///< of the replay; 0: no pauses
    bool expect = false; ///< the host has to say what it says in the replay
    bool loop = false;
    bool check = false;       ///< only check script and recording
    bool wait = false;        ///< script and replay begin when the host is heard
    bool exit_at_end = false; ///< of script or replay
    bool verbose = false;
    QVector<Action> commands; ///< to be done before the start
};

Tool_request parse_command_line(const QStringList& arguments, Options& options);
