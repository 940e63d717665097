#pragma once

#include "Examiner.h"

#include <QString>

#include <functional>
#include <vector>

/// What a check found.
struct Verdict {
    enum class Kind : uchar {
        passed,
        failed,
        left_out,
        unjudged, ///< this end stood still, and cannot tell
    };

    Kind kind = Kind::passed;
    QString text; ///< why; of a check that passed what it measured, or nothing
};

/// One thing that a controller's firmware has to do.
struct Controller_check {
    QString name;    ///< GROUP.WHAT
    QString meaning; ///< what a right controller does
    bool changes;    ///< what the controller keeps or switches
    std::function<Verdict(Examiner&)> run;
};

/// All of them, in the order in which they run. Those of the group "line" look at what the others
/// have made the controller say.
std::vector<Controller_check> controller_checks();
