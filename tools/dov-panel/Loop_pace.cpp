#include "Loop_pace.h"

#include <QAbstractEventDispatcher>

#include <thread>

Loop_pace::Loop_pace(std::chrono::milliseconds span) : span_(span)
{
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            &Loop_pace::hold_back);
}

void Loop_pace::hold_back()
{
    std::this_thread::sleep_until(last_ + span_);
    last_ = std::chrono::steady_clock::now();
}
