#include "Frame_scanner.h"

#include "Frame.h"

#include <cstring>

const uchar* Line_piece::message() const
{
    return data + Frame::payload_at;
}

bool Line_piece::has_right_addresses() const
{
    return sender == Sender::host
               ? Frame::has_addresses(data, Frame::host_address, Frame::controller_address)
               : Frame::has_addresses(data, Frame::controller_address, Frame::host_address);
}

void Frame_scanner::take(const uchar* data, int size, qint64 time_us)
{
    bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(begin_));
    arrivals_.erase(arrivals_.begin(), arrivals_.begin() + static_cast<std::ptrdiff_t>(arrival_));
    for (Arrival& arrival : arrivals_)
        arrival.end -= begin_;
    begin_ = 0;
    arrival_ = 0;
    bytes_.insert(bytes_.end(), data, data + size);
    arrivals_.push_back({bytes_.size(), time_us});
}

bool Frame_scanner::next(Line_piece& piece)
{
    for (std::size_t at = begin_;;) {
        at = find_beginning(at);
        if (at == bytes_.size())
            return at > begin_ && tell(piece, Line_piece::Kind::skipped, at);
        if (!fits_at(at)) {
            if (ended_) {
                ++at;
                continue;
            }
            return at > begin_ && tell(piece, Line_piece::Kind::skipped, at);
        }
        const bool is_good = is_good_at(at);
        const std::size_t inner = is_good ? at : find_good_inside(at);
        if (!is_good && inner != at) {
            at = inner;
            continue;
        }
        if (at > begin_)
            return tell(piece, Line_piece::Kind::skipped, at);
        if (!is_good && !ended_ && may_hide_one(at))
            return false;
        return tell(piece, is_good ? Line_piece::Kind::frame : Line_piece::Kind::broken,
                    at + Frame::size);
    }
}

/// Where a frame may begin, as far as the bytes go, from `at` on; the end for nowhere.
std::size_t Frame_scanner::find_beginning(std::size_t at) const
{
    while (at < bytes_.size()) {
        const void* sync = std::memchr(bytes_.data() + at, Frame::sync_1, bytes_.size() - at);
        if (sync == nullptr)
            break;
        at = static_cast<std::size_t>(static_cast<const uchar*>(sync) - bytes_.data());
        if (at + 1 == bytes_.size() || bytes_[at + 1] == Frame::sync_2)
            return at;
        ++at;
    }
    return bytes_.size();
}

bool Frame_scanner::fits_at(std::size_t at) const
{
    return bytes_.size() - at >= Frame::size;
}

/// Of a place where one fits.
bool Frame_scanner::is_good_at(std::size_t at) const
{
    return Frame::has_right_checksum(bytes_.data() + at, message_size);
}

/// The first good frame that begins inside the one at `at`; `at` when there is none.
std::size_t Frame_scanner::find_good_inside(std::size_t at) const
{
    const std::size_t end = at + Frame::size;
    for (std::size_t inner = find_beginning(at + 1); inner < end;
         inner = find_beginning(inner + 1)) {
        if (fits_at(inner) && is_good_at(inner))
            return inner;
    }
    return at;
}

/// Whether a frame that begins inside the one at `at` may still turn out good.
bool Frame_scanner::may_hide_one(std::size_t at) const
{
    const std::size_t end = at + Frame::size;
    for (std::size_t inner = find_beginning(at + 1); inner < end;
         inner = find_beginning(inner + 1)) {
        if (!fits_at(inner))
            return true;
    }
    return false;
}

qint64 Frame_scanner::time_of(std::size_t at) const
{
    std::size_t arrival = arrival_;
    while (arrivals_[arrival].end <= at)
        ++arrival;
    return arrivals_[arrival].time_us;
}

bool Frame_scanner::tell(Line_piece& piece, Line_piece::Kind kind, std::size_t end)
{
    piece.kind = kind;
    piece.sender = sender_;
    piece.data = bytes_.data() + begin_;
    piece.size = static_cast<int>(end - begin_);
    piece.begin_us = time_of(begin_);
    piece.end_us = time_of(end - 1);
    begin_ = end;
    while (arrival_ < arrivals_.size() && arrivals_[arrival_].end <= begin_)
        ++arrival_;
    return true;
}
