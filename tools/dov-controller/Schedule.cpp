#include "Schedule.h"

void Schedule::add(const Transmission& transmission)
{
    waiting_.emplace(transmission.start_ms, transmission);
}

std::optional<qint64> Schedule::next_time() const
{
    if (current_)
        return current_->start_ms;
    if (waiting_.empty())
        return std::nullopt;
    return waiting_.begin()->first;
}

QByteArray Schedule::take(qint64 now_ms)
{
    const std::optional<qint64> time = next_time();
    if (!time || *time > now_ms)
        return {};
    if (!current_) {
        current_ = waiting_.begin()->second;
        waiting_.erase(waiting_.begin());
    }
    QByteArray piece = current_->pieces.takeFirst();
    current_->start_ms = now_ms + current_->gap_ms;
    if (current_->pieces.isEmpty())
        current_.reset();
    return piece;
}

void Schedule::clear()
{
    waiting_.clear();
    current_.reset();
}
