#include "Packet_serial_interface.h"

#include "Console.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace {

constexpr uchar sync_1 = 0x18;
constexpr uchar sync_2 = 0xEF;
constexpr uchar host_address = 0x78;
constexpr uchar controller_address = 0x59;

constexpr int header_size = 4;
constexpr int look_ahead = 260; ///< the longest frame

constexpr uint default_baud = 115200;

/// The header bytes sum to the same low 8 bits in both directions.
constexpr uchar checksum_start = 0xD8;
static_assert(((sync_1 + sync_2 + host_address + controller_address) & 0xFF) == checksum_start);

uchar checksum(const uchar* payload, uint len)
{
    return std::accumulate(payload, payload + len, checksum_start,
                           [](uchar sum, uchar byte) { return static_cast<uchar>(sum + byte); });
}

/// Shows an address as "%2x" shows a signed char: a negative one has eight digits.
Text_stream& show_address(Text_stream& out, uchar address)
{
    if (address >= 0x80)
        out << "ffffff";
    return out.bytes("", Byte_style::padded_joined, &address, 1);
}

} // namespace

Packet_serial_interface::Packet_serial_interface()
{
    connect(this, &QIODevice::readyRead, this, &Packet_serial_interface::handle_read);
}

void Packet_serial_interface::open(const char* path)
{
    Threaded_serial_port::open(path);
    set_baud(default_baud);
}

bool Packet_serial_interface::write_packet(const unsigned char* payload, uint len)
{
    if (len > max_payload)
        return false;
    uchar frame[look_ahead] = {sync_1, sync_2, host_address, controller_address};
    std::copy_n(payload, len, frame + header_size);
    frame[header_size + len] = checksum(payload, len);
    writeData(reinterpret_cast<const char*>(frame), header_size + len + 1);
    return true;
}

uint Packet_serial_interface::read_packet(unsigned char* buf, uint size)
{
    for (;;) {
        skip_garbage();
        if (received_size() < 3)
            return 0;
        const uchar* frame = received();
        const int visible = std::min(received_size(), look_ahead);
        head_.setRawData(reinterpret_cast<const char*>(frame), static_cast<uint>(visible));
        const uint length = packet_length(head_);
        if (static_cast<uint>(visible) < header_size + length + 1)
            return 0;
        check_addresses(frame);
        if (checksum(frame + header_size, length) == frame[header_size + length]) {
            take_payload(buf, size, length);
            return length;
        }
        Console::out() << "Checksum failed";
        consume(1);
    }
}

void Packet_serial_interface::handle_read()
{
    const Console_batch batch;
    unsigned char payload[max_payload];
    for (;;) {
        const uint length = read_packet(payload, sizeof payload);
        if (length < 1)
            return;
        Q_EMIT handle_packet(payload, length);
    }
}

/// Consumes up to the next sync pair, or until fewer than 3 bytes are left.
void Packet_serial_interface::skip_garbage()
{
    const uchar* const begin = received();
    const uchar* const end = begin + std::max(received_size() - 2, 0);
    const uchar* at = begin;
    while (at < end && (at[0] != sync_1 || at[1] != sync_2)) {
        const void* next = std::memchr(at + 1, sync_1, static_cast<std::size_t>(end - at - 1));
        at = next == nullptr ? end : static_cast<const uchar*>(next);
    }
    consume(static_cast<int>(at - begin));
}

void Packet_serial_interface::check_addresses(const uchar* frame) const
{
    if (frame[2] == controller_address && frame[3] == host_address)
        return;
    Text_stream& out = Console::out();
    out << "Src/Dest test failed ";
    show_address(out, frame[2]) << ':';
    show_address(out, controller_address) << ' ';
    show_address(out, frame[3]) << ':';
    show_address(out, host_address) << '\n';
}

void Packet_serial_interface::take_payload(unsigned char* buf, uint size, uint length)
{
    std::copy_n(received() + header_size, std::min(length, size), buf);
    for (uint surplus = length - std::min(length, size); surplus > 0; --surplus)
        Console::out().format("User didn't supply a big enough buffer %u\n", surplus);
    consume(header_size + static_cast<int>(length) + 1);
}
