#pragma once

#include "Message.h"

#include <QByteArray>
#include <QVector>

/// The frame around every message, as the controller writes and reads it.
///
/// 0x18 0xEF, source address, destination address, the message, and the low 8 bits of the sum of
/// 0xD8, which the bytes before the message add up to, and the message.
namespace Frame {

constexpr int size = 13;
constexpr uchar controller_address = 0x59;
constexpr uchar host_address = 0x78;

QByteArray build(const Message& message, uchar source = controller_address,
                 uchar destination = host_address);

/// Whether the bytes are one whole frame: length, both sync bytes, checksum. Any address.
bool is_whole(const QByteArray& bytes);

/// Whether a whole frame comes from `source` and goes to `destination`.
bool has_addresses(const QByteArray& frame, uchar source, uchar destination);

/// The message in a whole frame.
Message message_of(const QByteArray& frame);

} // namespace Frame

/// Finds the frames in what the host sends. After garbage or a wrong checksum the search goes on
/// at the next byte.
class Frame_reader {
public:
    /// A whole frame, or a run of bytes that belong to none.
    struct Found {
        QByteArray bytes;
        bool is_frame;
    };

    /// Takes more bytes; returns what is complete now, in order.
    QVector<Found> take(const QByteArray& bytes);

    /// Forgets the beginning of a frame that never came to its end.
    void clear() { pending_.clear(); }

private:
    QByteArray pending_;
};
