#include "Faults.h"

#include "Frame.h"

#include <algorithm>

void Faults::set_silence(bool silent)
{
    settings_.silent = silent;
    settings_.silent_until_ms = 0;
}

void Faults::set_silence_until(qint64 time_ms)
{
    settings_.silent_until_ms = time_ms;
}

void Faults::set_split(int size, qint64 gap_ms)
{
    settings_.split_size = size;
    settings_.split_gap_ms = gap_ms;
}

void Faults::clear()
{
    settings_ = Settings();
}

QVector<Transmission> Faults::shape(const Message& message, Origin origin, qint64 now_ms)
{
    if (is_silent(now_ms))
        return {};
    const bool is_answer = origin == Origin::answer;
    const int copies = is_answer && settings_.doubled ? 2 : 1;
    const auto addresses = settings_.addresses.value_or(
        QPair<uchar, uchar>(Frame::controller_address, Frame::host_address));
    QVector<Transmission> result;
    for (int copy = 0; copy < copies; ++copy) {
        QByteArray frame = Frame::build(message, addresses.first, addresses.second);
        if (draws_corruption())
            frame[frame.size() - 1] = static_cast<char>(~frame[frame.size() - 1]);
        const int step =
            settings_.split_size > 0 ? settings_.split_size : static_cast<int>(frame.size());
        Transmission transmission{
            now_ms + (is_answer ? settings_.late_ms : 0), {}, settings_.split_gap_ms};
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
    if (settings_.corrupt_next > 0) {
        --settings_.corrupt_next;
        return true;
    }
    // Not std::uniform_real_distribution: its numbers differ between standard libraries.
    constexpr double range = 4294967296.0;
    return settings_.corrupt_percent > 0 &&
           static_cast<quint32>(random_()) / range * 100 < settings_.corrupt_percent;
}
