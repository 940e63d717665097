#pragma once

#include "Device_verb.h"
#include "Event_filter.h"

/// Shows what the controller sends.
class Listen_verb : public Device_verb {
public:
    Listen_verb();
    int run(const QStringList& arguments) override;

private:
    Event_filter filter_;
    int count_ = 0;
    int wait_ms_ = -1;
};
