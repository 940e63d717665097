#pragma once

#include <QTimer>

#include <memory>

/// The settable period in which an input reports its value again, in milliseconds.
class Report_timer {
public:
    /// The shortest period.
    static constexpr uint floor_ms = 130;

    /// Starts reporting by calling `report` of `receiver` every `ms`, raised to the floor, or
    /// stops it when `ms` is 0. A period beyond 2147483647 is kept, and the timer runs that long.
    template <class Receiver>
    void set(uint ms, Receiver* receiver, void (Receiver::*report)())
    {
        if (ms == 0) {
            stop();
            return;
        }
        if (timer_ == nullptr) {
            timer_ = std::make_unique<QTimer>(receiver);
            timer_->setTimerType(Qt::PreciseTimer);
            QObject::connect(timer_.get(), &QTimer::timeout, receiver, report);
        }
        start(ms);
    }

    /// Begins a new period, if there is one.
    void restart();

    /// 0 when nothing is reported.
    uint period() const { return period_; }

private:
    void start(uint ms);
    void stop();

    uint period_ = 0;
    std::unique_ptr<QTimer> timer_;
};
