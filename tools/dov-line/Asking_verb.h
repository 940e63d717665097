#pragma once

#include "Device_verb.h"
#include "Exchange.h"

/// Asks the controller in rounds: `--count`, `--interval`, `--wait`.
class Asking_verb : public Device_verb {
protected:
    /// `count` and `interval_ms`: when nobody says otherwise; a count of 0 has no end.
    Asking_verb(const char* name, const char* description, int count, int interval_ms);

    /// Asks each of these, once a round.
    int ask(const QVector<QByteArray>& requests);

private:
    int count_;
    int interval_ms_;
    int wait_ms_ = response_time_ms;
};
