#include "Pcapng_recording.h"

#include "Pcapng.h"

#include <QtEndian>

#include <cmath>
#include <cstring>

namespace {

constexpr std::size_t least_block = 12; ///< type, length, length
constexpr double us_per_s = 1e6;

constexpr std::size_t padded(std::size_t size)
{
    return (size + 3) / 4 * 4;
}

} // namespace

Pcapng_recording::Pcapng_recording(std::unique_ptr<Byte_source> source) : source_(std::move(source))
{
}

bool Pcapng_recording::next(Line_record& record)
{
    quint32 type = 0;
    while (error_.isEmpty() && next_block(type)) {
        if (type == Pcapng::section_block)
            read_section();
        else if (type == Pcapng::interface_block)
            read_interface();
        else if (type == Pcapng::packet_block && read_packet(record))
            return true;
    }
    return false;
}

/// Brings the next block whole in sight.
bool Pcapng_recording::next_block(quint32& type)
{
    source_->consume(consumed_);
    consumed_ = 0;
    if (source_->size() == 0 && !source_->fill())
        return source_->error().isEmpty() ? false : fail(source_->error());
    if (!need(least_block))
        return fail(QStringLiteral("the file is cut short"));
    type = u32(0);
    if (type == Pcapng::section_block) {
        const quint32 magic = qFromLittleEndian<quint32>(source_->begin() + 8);
        is_swapped_ = magic == qbswap(Pcapng::byte_order_magic);
        if (!is_swapped_ && magic != Pcapng::byte_order_magic)
            return fail(QStringLiteral("no pcapng"));
    }
    length_ = u32(4);
    if (length_ < least_block || length_ % 4 != 0 || length_ > Byte_source::block)
        return fail(QStringLiteral("a block of %1 bytes").arg(length_));
    if (!need(length_))
        return fail(QStringLiteral("the file is cut short"));
    consumed_ = length_;
    return true;
}

bool Pcapng_recording::read_section()
{
    interfaces_.clear();
    return true;
}

bool Pcapng_recording::read_interface()
{
    if (length_ < 20)
        return fail(QStringLiteral("an interface block of %1 bytes").arg(length_));
    interfaces_.push_back({u16(8), us_per_tick(16)});
    return true;
}

bool Pcapng_recording::read_packet(Line_record& record)
{
    constexpr std::size_t data_at = 28;
    if (length_ < data_at + 4)
        return fail(QStringLiteral("a packet block of %1 bytes").arg(length_));
    const quint32 interface = u32(8);
    const std::size_t size = u32(20);
    // With its padding it fits as well: what is there for both comes in fours.
    if (interface >= interfaces_.size() || size < Pcapng::header_size ||
        size > length_ - data_at - 4)
        return fail(QStringLiteral("a packet block that does not hold together"));
    if (interfaces_[interface].link_type != Pcapng::link_type)
        return fail(QStringLiteral("packets of link type %1, not %2: nothing of this line")
                        .arg(interfaces_[interface].link_type)
                        .arg(Pcapng::link_type));
    const auto ticks = static_cast<double>(quint64{u32(12)} << 32 | u32(16));
    const qint64 clock_us = std::llround(ticks * interfaces_[interface].us_per_tick);
    if (wall_clock_us_ < 0)
        wall_clock_us_ = clock_us;
    // A wall clock can be set back while it records; time here cannot.
    last_us_ = std::max(last_us_, clock_us - wall_clock_us_);
    record.time_us = last_us_;
    const auto* packet = reinterpret_cast<const uchar*>(source_->begin()) + data_at;
    if (packet[0] > static_cast<uchar>(Sender::controller) ||
        packet[1] > static_cast<uchar>(Line_record::Kind::gap))
        return fail(QStringLiteral("a packet of neither side"));
    record.sender = static_cast<Sender>(packet[0]);
    record.kind = static_cast<Line_record::Kind>(packet[1]);
    record.data = packet + Pcapng::header_size;
    record.size = static_cast<int>(size) - Pcapng::header_size;
    record.missing = missing_before(data_at + padded(size));
    return true;
}

/// Where the value of an option of the present block is; 0 when it has none.
std::size_t Pcapng_recording::find_option(std::size_t options_at, quint16 wanted,
                                          std::size_t wanted_size) const
{
    for (std::size_t at = options_at; at + 4 <= length_ - 4;) {
        const quint16 code = u16(at);
        const std::size_t size = u16(at + 2);
        if (code == Pcapng::option_end || at + 4 + size > length_ - 4)
            break;
        if (code == wanted && size == wanted_size)
            return at + 4;
        at += 4 + padded(size);
    }
    return 0;
}

/// The resolution of an interface's times: microseconds, unless its options say otherwise.
double Pcapng_recording::us_per_tick(std::size_t options_at) const
{
    const std::size_t at = find_option(options_at, Pcapng::option_time_resolution, 1);
    if (at == 0)
        return 1;
    const auto resolution = static_cast<uchar>(source_->begin()[at]);
    const double base = (resolution & 0x80) != 0 ? 2 : 10;
    return us_per_s / std::pow(base, resolution & 0x7f);
}

quint64 Pcapng_recording::missing_before(std::size_t options_at) const
{
    const std::size_t at = find_option(options_at, Pcapng::option_dropped, sizeof(quint64));
    if (at == 0)
        return 0;
    const auto value = qFromLittleEndian<quint64>(source_->begin() + at);
    return is_swapped_ ? qbswap(value) : value;
}

/// Whether so many bytes are in sight.
bool Pcapng_recording::need(std::size_t size)
{
    while (source_->size() < size) {
        if (!source_->fill())
            return false;
    }
    return true;
}

bool Pcapng_recording::fail(const QString& text)
{
    error_ =
        QStringLiteral("%1: byte %2: %3").arg(source_->name()).arg(source_->position()).arg(text);
    return false;
}

quint16 Pcapng_recording::u16(std::size_t at) const
{
    const auto value = qFromLittleEndian<quint16>(source_->begin() + at);
    return is_swapped_ ? qbswap(value) : value;
}

quint32 Pcapng_recording::u32(std::size_t at) const
{
    const auto value = qFromLittleEndian<quint32>(source_->begin() + at);
    return is_swapped_ ? qbswap(value) : value;
}
