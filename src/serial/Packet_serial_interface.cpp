#include "Packet_serial_interface.h"

#include "Console.h"
#include "Frame.h"

#include <QThread>

#include <algorithm>
#include <cstring>

namespace {

constexpr uint default_baud = 115200;

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
    uchar frame[Frame::max_size];
    const uint size =
        Frame::build(frame, payload, len, Frame::host_address, Frame::controller_address);
    if (QThread::currentThread() == thread())
        Console::flush(); // no frame overtakes a text
    writeData(reinterpret_cast<const char*>(frame), size);
    return true;
}

uint Packet_serial_interface::read_packet(unsigned char* buf, uint size)
{
    for (;;) {
        skip_garbage();
        if (received_size() < 3)
            return 0;
        const uchar* frame = received();
        const int visible = std::min(received_size(), Frame::max_size);
        head_.setRawData(reinterpret_cast<const char*>(frame), static_cast<uint>(visible));
        const uint length = packet_length(head_);
        if (static_cast<uint>(visible) < length + Frame::overhead)
            return 0;
        check_addresses(frame);
        if (Frame::has_right_checksum(frame, length)) {
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
    while (at < end && !Frame::has_sync(at)) {
        const void* next =
            std::memchr(at + 1, Frame::sync_1, static_cast<std::size_t>(end - at - 1));
        at = next == nullptr ? end : static_cast<const uchar*>(next);
    }
    consume(static_cast<int>(at - begin));
}

void Packet_serial_interface::check_addresses(const uchar* frame) const
{
    if (Frame::has_addresses(frame, Frame::controller_address, Frame::host_address))
        return;
    Text_stream& out = Console::out();
    out << "Src/Dest test failed ";
    show_address(out, frame[Frame::source_at]) << ':';
    show_address(out, Frame::controller_address) << ' ';
    show_address(out, frame[Frame::destination_at]) << ':';
    show_address(out, Frame::host_address) << '\n';
}

void Packet_serial_interface::take_payload(unsigned char* buf, uint size, uint length)
{
    std::copy_n(received() + Frame::payload_at, std::min(length, size), buf);
    for (uint surplus = length - std::min(length, size); surplus > 0; --surplus)
        Console::out().format("User didn't supply a big enough buffer %u\n", surplus);
    consume(static_cast<int>(length) + Frame::overhead);
}
