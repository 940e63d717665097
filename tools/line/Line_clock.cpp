#include "Line_clock.h"

#include <ctime>

namespace {

qint64 clock_us(clockid_t clock)
{
    constexpr qint64 us_per_s = 1000000;
    constexpr qint64 ns_per_us = 1000;
    timespec time{};
    clock_gettime(clock, &time);
    return time.tv_sec * us_per_s + time.tv_nsec / ns_per_us;
}

} // namespace

qint64 Line_clock::wall_clock_us() const
{
    return clock_us(CLOCK_REALTIME) - now_us();
}

qint64 Line_clock::monotonic_us()
{
    return clock_us(CLOCK_MONOTONIC);
}
