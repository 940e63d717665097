#include "Schedule.h"

void Schedule::add(const Transmission& transmission)
{
    // A multi map puts equal keys in reverse: at its upper bound they stay in order.
    waiting_.insert(waiting_.upperBound(transmission.start_ms), transmission.start_ms,
                    transmission);
}

std::optional<qint64> Schedule::next_time() const
{
    if (current_)
        return current_->start_ms;
    if (waiting_.isEmpty())
        return std::nullopt;
    return waiting_.firstKey();
}

QByteArray Schedule::take(qint64 now_ms)
{
    const std::optional<qint64> time = next_time();
    if (!time || *time > now_ms)
        return {};
    if (!current_) {
        current_ = waiting_.first();
        waiting_.erase(waiting_.begin());
    }
    const QByteArray piece = current_->pieces.takeFirst();
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
