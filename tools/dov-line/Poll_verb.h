#pragma once

#include "Asking_verb.h"

/// Asks the controller again and again.
class Poll_verb : public Asking_verb {
public:
    Poll_verb();

    /// The arguments are the messages, each in words; none for those of the daemon's poll.
    int run(const QStringList& arguments) override;
};
