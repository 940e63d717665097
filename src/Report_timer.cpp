#include "Report_timer.h"

#include <algorithm>
#include <climits>

void Report_timer::restart()
{
    if (timer_ != nullptr)
        timer_->start();
}

void Report_timer::start(uint ms)
{
    period_ = std::max(ms, floor_ms);
    timer_->start(static_cast<int>(std::min<uint>(period_, INT_MAX)));
}

void Report_timer::stop()
{
    timer_.reset();
    period_ = 0;
}
