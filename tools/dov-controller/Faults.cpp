#include "Faults.h"

#include "Frame.h"

#include <algorithm>

void Faults::set_silence(bool silent)
{
    silent_ = silent;
    silent_until_ms_ = 0;
}

void Faults::set_silence_until(qint64 time_ms)
{
    silent_until_ms_ = time_ms;
}

void Faults::set_split(int size, qint64 gap_ms)
{
    split_size_ = size;
    split_gap_ms_ = gap_ms;
}

void Faults::clear()
{
    const std::mt19937 random = random_;
    *this = Faults();
    random_ = random;
}

QVector<Transmission> Faults::shape(const Message& message, Origin origin, qint64 now_ms)
{
    if (is_silent(now_ms))
        return {};
    const bool is_answer = origin == Origin::answer;
    const int copies = is_answer && double_ ? 2 : 1;
    const auto addresses =
        addresses_.value_or(QPair<uchar, uchar>(Frame::controller_address, Frame::host_address));
    QVector<Transmission> result;
    for (int copy = 0; copy < copies; ++copy) {
        QByteArray frame = Frame::build(message, addresses.first, addresses.second);
        if (draws_corruption())
            frame[frame.size() - 1] = static_cast<char>(~frame[frame.size() - 1]);
        const int step = split_size_ > 0 ? split_size_ : static_cast<int>(frame.size());
        Transmission transmission{now_ms + (is_answer ? late_ms_ : 0), {}, split_gap_ms_};
        for (int at = 0; at < frame.size(); at += step)
            transmission.pieces.append(frame.mid(at, step));
        result.append(transmission);
    }
    return result;
}

QByteArray Faults::garbage(int count)
{
    QByteArray bytes;
    bytes.reserve(count);
    for (int i = 0; i < count; ++i)
        bytes.append(static_cast<char>(random_() & 0xffU));
    return bytes;
}

bool Faults::draws_corruption()
{
    if (corrupt_next_ > 0) {
        --corrupt_next_;
        return true;
    }
    // Not std::uniform_real_distribution: its numbers differ between standard libraries.
    constexpr double range = 4294967296.0;
    return corrupt_percent_ > 0 && static_cast<quint32>(random_()) / range * 100 < corrupt_percent_;
}
