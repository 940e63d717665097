#pragma once

#include <QtGlobal>

/// The clock of a recording that is being made: time since it was started, which never goes back,
/// and what the wall clock says of it.
///
/// Thread: any one.
class Line_clock {
public:
    Line_clock() : start_us_(monotonic_us()) {}

    qint64 now_us() const { return monotonic_us() - start_us_; }

    /// The wall clock at time 0, in microseconds since 1970 (UTC), as it is set now.
    qint64 wall_clock_us() const;

private:
    static qint64 monotonic_us();

    qint64 start_us_;
};
