#pragma once

#include "Line_record.h"

#include <vector>

/// A stretch of what one side sent.
struct Line_piece {
    enum class Kind : uchar {
        frame,   ///< 13 bytes with both sync bytes and the right checksum, whatever its addresses
        broken,  ///< 13 bytes with both sync bytes, a wrong checksum, and no good frame inside
        skipped, ///< bytes that belong to neither
    };

    Kind kind = Kind::skipped;
    Sender sender = Sender::host;
    qint64 begin_us = 0; ///< when its first byte was seen
    qint64 end_us = 0;   ///< when its last byte was seen
    const uchar* data = nullptr;
    int size = 0;

    bool is_frame() const { return kind == Kind::frame; }
    /// The message in a frame, whole or broken.
    const uchar* message() const;
    /// Whether a frame comes from its sender's address and goes to the other side's.
    bool has_right_addresses() const;
};

/// Finds the frames in what one side sends, and tells what lies between them.
///
/// After a wrong checksum the search goes on at the next byte, as the daemon's does, so that a
/// frame that begins inside a broken one is found; the bytes before it are skipped ones then.
///
/// Thread: any one.
class Frame_scanner {
public:
    explicit Frame_scanner(Sender sender) : sender_(sender) {}

    /// Takes more bytes, of a time not before the last ones'.
    void take(const uchar* data, int size, qint64 time_us);

    /// Nothing will follow: what waits for more is decided as it is.
    void end() { ended_ = true; }

    /// Finds the next piece that is decided; false when that takes more bytes. The piece's data
    /// is valid until the next take().
    bool next(Line_piece& piece);

private:
    /// Bytes up to here were seen at this time.
    struct Arrival {
        std::size_t end;
        qint64 time_us;
    };

    std::size_t find_beginning(std::size_t at) const;
    bool is_good_at(std::size_t at) const;
    bool fits_at(std::size_t at) const;
    std::size_t find_good_inside(std::size_t at) const;
    bool may_hide_one(std::size_t at) const;
    qint64 time_of(std::size_t at) const;
    bool tell(Line_piece& piece, Line_piece::Kind kind, std::size_t end);

    Sender sender_;
    bool ended_ = false;
    std::vector<uchar> bytes_;
    std::size_t begin_ = 0; ///< what is before has been told
    std::vector<Arrival> arrivals_;
    std::size_t arrival_ = 0; ///< the one that the first byte not told belongs to
};
