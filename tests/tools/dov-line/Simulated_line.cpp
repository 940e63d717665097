#include "Simulated_line.h"

#include <algorithm>

void Simulated_line::stand_still(qint64 from_ms, qint64 for_ms)
{
    from_ms_ = from_ms;
    for_ms_ = for_ms;
}

void Simulated_line::stand_still_in_each(qint64 period_ms, qint64 for_ms)
{
    period_ms_ = period_ms;
    for_ms_ = for_ms;
}

void Simulated_line::send(const QByteArray& bytes)
{
    now_ms_ = awake_from(now_ms_);
    note({now_us(), Sender::host, Line_record::Kind::bytes,
          reinterpret_cast<const uchar*>(bytes.constData()), static_cast<int>(bytes.size())});
    controller_.receive(bytes, now_ms_);
}

bool Simulated_line::wait_until(const std::function<bool()>& holds, int ms)
{
    const qint64 end_ms = now_ms_ + ms;
    qint64 look_at_ms = now_ms_ + look_ms;
    look();
    while (!holds()) {
        if (now_ms_ >= end_ms)
            return false;
        const qint64 next_ms = controller_.next_ms();
        now_ms_ = std::min(end_ms, look_at_ms);
        if (next_ms >= 0)
            now_ms_ = std::min(now_ms_, next_ms);
        now_ms_ = awake_from(now_ms_);
        take();
        if (now_ms_ >= std::min(end_ms, look_at_ms)) {
            look();
            look_at_ms = now_ms_ + look_ms;
        }
    }
    return true;
}

/// When the host runs that is to be woken at a time.
qint64 Simulated_line::awake_from(qint64 time_ms) const
{
    const qint64 from_ms = period_ms_ == 0 ? from_ms_ : time_ms - time_ms % period_ms_;
    return time_ms >= from_ms ? std::max(time_ms, from_ms + for_ms_) : time_ms;
}

void Simulated_line::look()
{
    if (controller_.next_ms() < 0 || controller_.next_ms() > now_ms_)
        last_look_ms_ = now_ms_;
}

/// Tells what has come.
void Simulated_line::take()
{
    QByteArray bytes;
    while (controller_.next_ms() >= 0 && controller_.next_ms() <= now_ms_)
        bytes += controller_.send_next();
    if (!bytes.isEmpty())
        note({now_us(), Sender::controller, Line_record::Kind::bytes,
              reinterpret_cast<const uchar*>(bytes.constData()), static_cast<int>(bytes.size())});
}
