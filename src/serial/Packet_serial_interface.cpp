#include "Packet_serial_interface.h"

#include "Console.h"
#include "Frame.h"

#include <QThread>

#include <algorithm>
#include <cstring>

namespace {

constexpr uint default_baud = 115200;

constexpr int least_head = 3; ///< bytes that tell a sync pair from garbage

/// How many bytes come before the next place where a frame may begin.
int garbage_in_front(const uchar* bytes, int size)
{
    const uchar* const end = bytes + size - (least_head - 1);
    const uchar* at = bytes;
    while (at < end && !Frame::has_sync(at)) {
        const void* next =
            std::memchr(at + 1, Frame::sync_1, static_cast<std::size_t>(end - at - 1));
        at = next == nullptr ? end : static_cast<const uchar*>(next);
    }
    return static_cast<int>(at - bytes);
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
    head_.reserve(Frame::max_size);
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
    begin_looking();
    while (!turn_is_over()) {
        View view = look(Frame::max_size);
        if (view.size < least_head)
            return 0;
        if (const int garbage = garbage_in_front(view.bytes, view.size); garbage > 0) {
            view = drop(view, garbage);
            if (view.size < Frame::max_size)
                continue; // more may have arrived
        }
        const int visible = std::min(view.size, Frame::max_size);
        const uint length = packet_length(head_of(view.bytes, visible));
        if (visible < qint64{length} + Frame::overhead)
            return 0;
        check_addresses(view.bytes);
        if (Frame::has_right_checksum(view.bytes, length)) {
            take_payload(view, length, buf, size);
            return length;
        }
        Console::out() << "Checksum failed";
        drop(view, 1);
    }
    return 0;
}

void Packet_serial_interface::handle_read()
{
    const Console_batch batch;
    unsigned char payload[256];
    for (;;) {
        const uint length = read_packet(payload, sizeof payload);
        if (length < 1)
            return;
        Q_EMIT handle_packet(payload, length);
    }
}

/// The bytes as an array of its own, which packet_length() may keep.
const QByteArray& Packet_serial_interface::head_of(const uchar* bytes, int size)
{
    if (head_.size() != size)
        head_.resize(size);
    std::memcpy(head_.data(), bytes, static_cast<std::size_t>(size));
    return head_;
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

void Packet_serial_interface::take_payload(const View& frame, uint length, uchar* buf, uint size)
{
    std::copy_n(frame.bytes + Frame::payload_at, std::min(length, size), buf);
    for (uint surplus = length - std::min(length, size); surplus > 0; --surplus)
        Console::out().format("User didn't supply a big enough buffer %u\n", surplus);
    drop(frame, static_cast<int>(length) + Frame::overhead);
}
