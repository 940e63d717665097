#pragma once

#include "Verb.h"

/// Tells what differs between two recordings of the line.
class Compare_verb : public Verb {
public:
    Compare_verb();

    /// The arguments are the two recordings.
    int run(const QStringList& arguments) override;

private:
    bool all_ = false;
};
