#include "Frame.h"

#include <algorithm>

namespace {

const uchar* bytes_of(const QByteArray& bytes)
{
    return reinterpret_cast<const uchar*>(bytes.constData());
}

} // namespace

uint Frame::build(uchar* frame, const uchar* payload, uint len, uchar source, uchar destination)
{
    frame[0] = sync_1;
    frame[1] = sync_2;
    frame[source_at] = source;
    frame[destination_at] = destination;
    std::copy_n(payload, len, frame + payload_at);
    frame[payload_at + len] = checksum(payload, len);
    return len + overhead;
}

QByteArray Frame::build(const Message& message, uchar source, uchar destination)
{
    QByteArray frame(size, Qt::Uninitialized);
    build(reinterpret_cast<uchar*>(frame.data()), message.data(), message_size, source,
          destination);
    return frame;
}

bool Frame::has_sync(const QByteArray& bytes)
{
    return bytes.size() >= source_at && has_sync(bytes_of(bytes));
}

bool Frame::is_whole(const QByteArray& bytes)
{
    return bytes.size() == size && has_sync(bytes) &&
           has_right_checksum(bytes_of(bytes), message_size);
}

bool Frame::has_addresses(const QByteArray& frame, uchar source, uchar destination)
{
    return has_addresses(bytes_of(frame), source, destination);
}

Message Frame::message_of(const QByteArray& frame)
{
    Message message{};
    std::copy_n(bytes_of(frame) + payload_at, message_size, message.begin());
    return message;
}
