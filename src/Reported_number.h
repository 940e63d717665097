#pragma once

#include "Console.h"
#include "Object_kind.h"
#include "Report_timer.h"

#include <cmath>

/// The number of an input, which is reported when it has changed by more than a hysteresis, and
/// again when nothing has been reported for a time.
///
/// An update is told on one line of standard error: begin_update(), what the input has to say of
/// the value, end_update().
///
/// Thread: main.
class Reported_number {
public:
    /// no_reading until the first update.
    double value() const { return value_; }

    /// start_hysteresis to begin with: the first positive value is reported, and none after it. A
    /// NaN compares false with everything: nothing is reported for it.
    double hysteresis() const { return hysteresis_; }
    void set_hysteresis(double hysteresis) { hysteresis_ = hysteresis; }

    /// The time in milliseconds after which `report` of `receiver` is called again and again, as
    /// Report_timer says; a change that is reported begins it anew.
    template <class Receiver>
    void set_time_out(uint ms, Receiver* receiver, void (Receiver::*report)())
    {
        time_out_.set(ms, receiver, report);
    }
    uint time_out() const { return time_out_.period(); }

    /// Begins the line about a new value.
    static void begin_update(double value) { Console::err() << "Updated val=" << value; }

    /// Takes the value, calls `report` when it is further than the hysteresis from the one reported
    /// last, and ends the line.
    template <class Report>
    void end_update(double value, Report report)
    {
        if (std::fabs(reported_ - value) > hysteresis_) {
            Console::err() << " Changed";
            report();
            reported_ = value;
            time_out_.restart();
        } else {
            Console::err() << " !Changed";
        }
        Console::err() << "\n";
        value_ = value;
    }

private:
    double value_ = no_reading;
    double reported_ = no_reading;
    double hysteresis_ = start_hysteresis;
    Report_timer time_out_;
};
