#include "Players.h"

#include <algorithm>

Player::Player(Bench_controller& bench) : bench_(bench)
{
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, &Player::go_on);
}

void Player::start()
{
    start_ms_ = bench_.now_ms();
    playing_ = true;
    go_on();
}

void Player::resume()
{
    if (playing_ && !timer_.isActive())
        go_on();
}

void Player::go_on()
{
    for (;;) {
        const qint64 next_ms = next_time_ms();
        if (next_ms < 0) {
            playing_ = false;
            Q_EMIT ended();
            return;
        }
        const qint64 wait_ms = start_ms_ + next_ms - bench_.now_ms();
        if (wait_ms > 0) {
            timer_.start(static_cast<int>(wait_ms));
            return;
        }
        if (!is_ready())
            return;
        do_next();
    }
}

Script_player::Script_player(Bench_controller& bench, Script script, bool loop)
    : Player(bench), script_(std::move(script)), loop_(loop && script_.length_ms() > 0)
{
}

qint64 Script_player::next_time_ms() const
{
    if (next_ < script_.steps.size())
        return round_ms_ + script_.steps[next_].at_ms;
    return -1;
}

void Script_player::do_next()
{
    script_.steps[next_++].action(bench_);
    if (loop_ && next_ == script_.steps.size()) {
        next_ = 0;
        round_ms_ += script_.length_ms();
    }
}

Trace_player::Trace_player(Bench_controller& bench, const Trace& trace, double speed,
                           bool from_host)
    : Player(bench), speed_(speed)
{
    const auto first_of_host =
        std::find_if(trace.entries.begin(), trace.entries.end(),
                     [](const Trace_entry& entry) { return !entry.from_controller; });
    if (from_host && first_of_host != trace.entries.end())
        origin_us_ = first_of_host->time_us;
    std::copy_if(trace.entries.begin(), trace.entries.end(), std::back_inserter(entries_),
                 [](const Trace_entry& entry) { return entry.from_controller; });
    connect(&bench.line(), &Line::written, this, &Trace_player::resume);
}

qint64 Trace_player::next_time_ms() const
{
    if (next_ == entries_.size())
        return -1;
    if (speed_ <= 0)
        return 0;
    const qint64 time_us = std::max<qint64>(entries_[next_].time_us - origin_us_, 0);
    return static_cast<qint64>(static_cast<double>(time_us) / 1000 / speed_);
}

void Trace_player::do_next()
{
    bench_.send_bytes(entries_[next_++].bytes);
}

bool Trace_player::is_ready() const
{
    return bench_.line().is_written();
}
