#pragma once

#include <QtGlobal>

/// What both ends of a pcapng file of the line agree on. Each packet is two bytes, the sender and
/// what happened, and then the bytes that went over the line together.
namespace Pcapng {

constexpr quint32 section_block = 0x0A0D0D0A;
constexpr quint32 interface_block = 1;
constexpr quint32 packet_block = 6; ///< "enhanced packet block"
constexpr quint32 byte_order_magic = 0x1A2B3C4D;

constexpr quint16 link_type = 147; ///< LINKTYPE_USER0: no protocol of a registry

constexpr quint16 option_end = 0;
constexpr quint16 option_time_resolution = 9; ///< of an interface
constexpr quint16 option_flags = 2;           ///< of a packet; its low two bits are the direction
constexpr quint16 option_dropped = 4;         ///< of a packet: how many are missing before it

/// Seen from the host.
constexpr quint32 inbound = 1;
constexpr quint32 outbound = 2;

constexpr int header_size = 2; ///< before the bytes: Sender, Line_record::Kind

} // namespace Pcapng
