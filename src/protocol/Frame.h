#pragma once

#include "Message.h"

#include <QByteArray>

#include <numeric>

/// The frame around every message: how it is built and how it is checked.
///
/// 0x18 0xEF, source address, destination address, the payload, and a checksum: the low 8 bits of
/// the sum of all bytes before it. It carries no length: on the controller's line every payload is
/// a message of 8 bytes and every frame has 13. The host's frames have source 0x78 and
/// destination 0x59, the controller's the reverse.
namespace Frame {

constexpr uchar sync_1 = 0x18;
constexpr uchar sync_2 = 0xEF;
constexpr uchar host_address = 0x78;
constexpr uchar controller_address = 0x59;

/// Where the parts of a frame begin.
constexpr int source_at = 2;
constexpr int destination_at = 3;
constexpr int payload_at = 4;

constexpr int overhead = payload_at + 1; ///< header and checksum
constexpr int size = message_size + overhead;
constexpr int max_payload = 255;
constexpr int max_size = max_payload + overhead;

/// The header bytes sum to the same low 8 bits in both directions.
constexpr uchar checksum_start = 0xD8;
static_assert(((sync_1 + sync_2 + host_address + controller_address) & 0xFF) == checksum_start);

/// The checksum of a frame with this payload. The header counts as the right one even when it is
/// not: a frame with wrong addresses can have a right checksum.
inline uchar checksum(const uchar* payload, uint len)
{
    return std::accumulate(payload, payload + len, checksum_start,
                           [](uchar sum, uchar byte) { return static_cast<uchar>(sum + byte); });
}

/// Whether the checksum behind the payload of a frame is the right one.
inline bool has_right_checksum(const uchar* frame, uint payload_len)
{
    return checksum(frame + payload_at, payload_len) == frame[payload_at + payload_len];
}

/// Whether the next two bytes are the sync bytes.
constexpr bool has_sync(const uchar* bytes)
{
    return bytes[0] == sync_1 && bytes[1] == sync_2;
}

/// Whether a frame, of which the header is there, comes from `source` and goes to `destination`.
constexpr bool has_addresses(const uchar* frame, uchar source, uchar destination)
{
    return frame[source_at] == source && frame[destination_at] == destination;
}

/// Writes a frame around `len` bytes, at most 255, into `frame`, which has room for `len` and 5
/// more. Returns how many bytes it has.
uint build(uchar* frame, const uchar* payload, uint len, uchar source, uchar destination);

/// The frame of a message: the controller's, unless the addresses say otherwise.
QByteArray build(const Message& message, uchar source = controller_address,
                 uchar destination = host_address);

/// Whether the bytes begin with both sync bytes.
bool has_sync(const QByteArray& bytes);

/// Whether the bytes are one whole frame of a message: length, both sync bytes, checksum. Any
/// address.
bool is_whole(const QByteArray& bytes);

/// The same as above for a whole frame.
bool has_addresses(const QByteArray& frame, uchar source, uchar destination);

/// The message in the 13 bytes of a frame.
Message message_of(const QByteArray& frame);

} // namespace Frame
