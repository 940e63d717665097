#include "Pcapng_writer.h"

#include "Pcapng.h"

#include <QtEndian>

namespace {

template <class Number>
void append(QByteArray& bytes, Number number)
{
    const Number little = qToLittleEndian(number);
    bytes.append(reinterpret_cast<const char*>(&little), sizeof little);
}

void pad(QByteArray& bytes)
{
    while (bytes.size() % 4 != 0)
        bytes.append('\0');
}

/// Type and length around a block's body.
QByteArray block(quint32 type, QByteArray body)
{
    pad(body);
    const auto length = static_cast<quint32>(body.size() + 12);
    QByteArray bytes;
    append(bytes, type);
    append(bytes, length);
    bytes.append(body);
    append(bytes, length);
    return bytes;
}

} // namespace

QByteArray Pcapng_writer::header()
{
    QByteArray section;
    append(section, Pcapng::byte_order_magic);
    append(section, quint16{1}); // version 1.0
    append(section, quint16{0});
    append(section, qint64{-1}); // its length is not known

    QByteArray interface;
    append(interface, Pcapng::link_type);
    append(interface, quint16{0});
    append(interface, quint32{0}); // packets of any length
    append(interface, Pcapng::option_time_resolution);
    append(interface, quint16{1});
    interface.append('\x06'); // microseconds
    pad(interface);
    append(interface, Pcapng::option_end);
    append(interface, quint16{0});
    return block(Pcapng::section_block, section) + block(Pcapng::interface_block, interface);
}

QByteArray Pcapng_writer::packet(const Line_record& record, qint64 clock_us)
{
    const auto size = static_cast<quint32>(record.size + Pcapng::header_size);
    QByteArray body;
    append(body, quint32{0}); // the one interface
    append(body, static_cast<quint32>(clock_us >> 32));
    append(body, static_cast<quint32>(clock_us));
    append(body, size);
    append(body, size);
    body.append(static_cast<char>(record.sender));
    body.append(static_cast<char>(record.kind));
    body.append(reinterpret_cast<const char*>(record.data), record.size);
    pad(body);
    append(body, Pcapng::option_flags);
    append(body, quint16{4});
    append(body, record.sender == Sender::host ? Pcapng::outbound : Pcapng::inbound);
    if (record.kind == Line_record::Kind::gap) {
        append(body, Pcapng::option_dropped);
        append(body, quint16{8});
        append(body, record.missing);
    }
    append(body, Pcapng::option_end);
    append(body, quint16{0});
    return block(Pcapng::packet_block, body);
}
