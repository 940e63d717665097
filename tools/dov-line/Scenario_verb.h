#pragma once

#include "Verb.h"

/// Makes a scenario of the daemon's tests from a recording.
class Scenario_verb : public Verb {
public:
    Scenario_verb();

    /// The argument is the recording.
    int run(const QStringList& arguments) override;
};
