#include "Players.h"

#include "Frame.h"
#include "Meaning.h"

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

void Player::look_again()
{
    timer_.stop();
    if (playing_)
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
        if (!playing_)
            return;
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

Expecting_player::Expecting_player(Bench_controller& bench, const Trace& trace,
                                   const Expectation& expectation, const QString& file,
                                   double speed, bool from_host)
    : Player(bench), expectation_(expectation), file_(file), speed_(speed)
{
    const auto& items = expectation_.items();
    std::copy_if(trace.entries.begin(), trace.entries.end(), std::back_inserter(lines_),
                 [](const Trace_entry& entry) { return entry.from_controller; });
    int line = 0;
    const auto add_lines = [this, &line](int end) {
        for (; line < end; ++line)
            steps_.push_back({lines_[line].time_us, true, line});
    };
    for (int i = 0; i < items.size(); ++i) {
        add_lines(items[i].after);
        // Nothing is awaited of what may come or not.
        if (!expectation_.ignores(items[i], items[i].bytes, items[i].is_frame))
            steps_.push_back({items[i].time_us, false, i});
    }
    add_lines(static_cast<int>(lines_.size()));
    if (from_host && !items.isEmpty())
        anchor_us_ = items.first().time_us;
    connect(&bench.line(), &Line::written, this, &Expecting_player::resume);
    connect(&bench, &Bench_controller::passed, this, &Expecting_player::hear);
}

qint64 Expecting_player::next_time_ms() const
{
    if (has_ended())
        return -1;
    const Step& step = steps_[static_cast<std::size_t>(next_)];
    // The host is ahead: what stands before its line is due as well.
    if (!heard_.isEmpty())
        return 0;
    constexpr qint64 us_per_ms = 1000;
    const qint64 passed_ms = std::max<qint64>(step.time_us - anchor_us_, 0) / us_per_ms;
    if (!step.from_controller)
        return anchor_ms_ + passed_ms + expectation_.within_ms(*awaited());
    return speed_ <= 0 ? 0
                       : anchor_ms_ + static_cast<qint64>(static_cast<double>(passed_ms) / speed_);
}

void Expecting_player::do_next()
{
    const Step& step = steps_[static_cast<std::size_t>(next_)];
    if (step.from_controller) {
        bench_.send_bytes(lines_[step.index].bytes);
        ++next_;
    } else if (heard_.isEmpty()) {
        differ(*awaited(), {});
    } else {
        take_heard();
    }
}

bool Expecting_player::is_ready() const
{
    return bench_.line().is_written();
}

/// What the host is to say next; null when nothing more is expected.
const Expectation::Item* Expecting_player::awaited() const
{
    const auto step = std::find_if(steps_.begin() + next_, steps_.end(),
                                   [](const Step& each) { return !each.from_controller; });
    return step == steps_.end() ? nullptr : &expectation_.items()[step->index];
}

void Expecting_player::hear(const Trace_entry& entry)
{
    const Expectation::Item* const item = entry.from_controller ? nullptr : awaited();
    if (item == nullptr || expectation_.ignores(*item, entry.bytes, Frame::is_whole(entry.bytes)))
        return;
    heard_.append(entry.bytes);
    look_again();
}

void Expecting_player::take_heard()
{
    const Expectation::Item& item = *awaited();
    const QByteArray came = heard_.takeFirst();
    if (!expectation_.takes(item, came, Frame::is_whole(came))) {
        differ(item, came);
        return;
    }
    anchor_us_ = item.time_us;
    anchor_ms_ = now_ms();
    ++next_;
}

void Expecting_player::differ(const Expectation::Item& item, const QByteArray& came)
{
    stop();
    const auto told = [](const QByteArray& bytes) {
        return QString::fromLatin1(bytes.toHex(' ')) + QStringLiteral("  # ") +
               meaning_of_bytes(bytes, false);
    };
    QString text = QStringLiteral("%1:%2: the host says something else\n  expected %3\n  came     ")
                       .arg(file_)
                       .arg(item.line)
                       .arg(told(item.bytes));
    text +=
        came.isEmpty()
            ? QStringLiteral("nothing, %1 ms later than recorded").arg(expectation_.within_ms(item))
            : told(came);
    Q_EMIT differed(text);
}
