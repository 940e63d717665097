#pragma once

#include "Byte_source.h"
#include "Recording_reader.h"

#include <memory>
#include <vector>

/// Reads a pcapng file of the line, of either byte order. Blocks of other kinds are passed over;
/// packets of another link type are an error.
class Pcapng_recording : public Recording_reader {
public:
    explicit Pcapng_recording(std::unique_ptr<Byte_source> source);

    bool next(Line_record& record) override;

private:
    struct Interface {
        quint16 link_type;
        double us_per_tick;
    };

    bool next_block(quint32& type);
    bool read_section();
    bool read_interface();
    bool read_packet(Line_record& record);
    bool need(std::size_t size);
    bool fail(const QString& text);
    quint16 u16(std::size_t at) const;
    quint32 u32(std::size_t at) const;
    std::size_t find_option(std::size_t options_at, quint16 wanted, std::size_t wanted_size) const;
    double us_per_tick(std::size_t options_at) const;
    quint64 missing_before(std::size_t options_at) const;

    std::unique_ptr<Byte_source> source_;
    std::vector<Interface> interfaces_;
    bool is_swapped_ = false;
    std::size_t consumed_ = 0; ///< of the source, by the block read last
    std::size_t length_ = 0;   ///< of the present block
    qint64 last_us_ = 0;
};
