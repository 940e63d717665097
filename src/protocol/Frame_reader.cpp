#include "Frame_reader.h"

#include "Frame.h"

namespace {

/// Whether the bytes, from `at` on, can be a frame as far as they go.
bool may_begin_frame(const QByteArray& bytes, int at)
{
    return static_cast<uchar>(bytes[at]) == Frame::sync_1 &&
           (at + 1 == bytes.size() || static_cast<uchar>(bytes[at + 1]) == Frame::sync_2);
}

} // namespace

QVector<Frame_reader::Found> Frame_reader::take(const QByteArray& bytes)
{
    pending_.append(bytes);
    QVector<Found> found;
    int at = 0;
    int garbage_begin = 0;
    const auto end_garbage = [&] {
        if (at > garbage_begin)
            found.append({pending_.mid(garbage_begin, at - garbage_begin), false});
    };
    while (at < pending_.size()) {
        const bool possible = may_begin_frame(pending_, at);
        if (possible && pending_.size() - at < Frame::size)
            break;
        const QByteArray candidate = possible ? pending_.mid(at, Frame::size) : QByteArray();
        if (!Frame::is_whole(candidate)) {
            ++at;
            continue;
        }
        end_garbage();
        found.append({candidate, true});
        at += Frame::size;
        garbage_begin = at;
    }
    end_garbage();
    pending_.remove(0, at);
    return found;
}
