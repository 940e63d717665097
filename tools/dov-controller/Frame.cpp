#include "Frame.h"

#include <algorithm>

namespace {

constexpr char sync_1 = '\x18';
constexpr char sync_2 = '\xEF';
constexpr int header_size = 4;

/// Of the message behind the header. The header counts as the right one even when it is not.
uchar checksum(const QByteArray& frame)
{
    uint sum = 0xd8;
    for (int i = header_size; i < header_size + message_size; ++i)
        sum += static_cast<uchar>(frame[i]);
    return static_cast<uchar>(sum);
}

/// Whether the bytes, from `at` on, can be a frame as far as they go.
bool may_begin_frame(const QByteArray& bytes, int at)
{
    return bytes[at] == sync_1 && (at + 1 == bytes.size() || bytes[at + 1] == sync_2);
}

} // namespace

QByteArray Frame::build(const Message& message, uchar source, uchar destination)
{
    QByteArray bytes;
    bytes.reserve(size);
    bytes.append(sync_1).append(sync_2);
    bytes.append(static_cast<char>(source)).append(static_cast<char>(destination));
    for (const uchar byte : message)
        bytes.append(static_cast<char>(byte));
    return bytes.append(static_cast<char>(checksum(bytes)));
}

bool Frame::is_whole(const QByteArray& bytes)
{
    return bytes.size() == size && bytes[0] == sync_1 && bytes[1] == sync_2 &&
           checksum(bytes) == static_cast<uchar>(bytes[size - 1]);
}

bool Frame::has_addresses(const QByteArray& frame, uchar source, uchar destination)
{
    return static_cast<uchar>(frame[2]) == source && static_cast<uchar>(frame[3]) == destination;
}

Message Frame::message_of(const QByteArray& frame)
{
    Message message{};
    std::copy_n(frame.constData() + header_size, message_size, message.begin());
    return message;
}

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
