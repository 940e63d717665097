#include "Line_analysis.h"

#include <utility>

namespace {

Line_event::Kind kind_of(Line_piece::Kind kind)
{
    switch (kind) {
    case Line_piece::Kind::frame:
        return Line_event::Kind::frame;
    case Line_piece::Kind::broken:
        return Line_event::Kind::broken;
    case Line_piece::Kind::skipped:
        break;
    }
    return Line_event::Kind::skipped;
}

Line_event::Kind kind_of(Line_record::Kind kind)
{
    switch (kind) {
    case Line_record::Kind::hang_up:
        return Line_event::Kind::hang_up;
    case Line_record::Kind::gap:
        return Line_event::Kind::gap;
    case Line_record::Kind::connection:
    case Line_record::Kind::bytes:
        break;
    }
    return Line_event::Kind::connection;
}

} // namespace

bool Line_event::has_right_addresses() const
{
    const auto* frame = reinterpret_cast<const uchar*>(bytes.constData());
    return sender == Sender::host
               ? Frame::has_addresses(frame, Frame::host_address, Frame::controller_address)
               : Frame::has_addresses(frame, Frame::controller_address, Frame::host_address);
}

void Line_analysis::take(const Line_record& record)
{
    if (record.kind != Line_record::Kind::bytes) {
        add_line_event(record);
        return;
    }
    Frame_scanner& scanner = record.sender == Sender::host ? host_ : controller_;
    scanner.take(record.data, record.size, record.time_us);
    take_pieces(scanner);
}

void Line_analysis::pass(qint64 now_us)
{
    settle(pairing_.take_unanswered(now_us));
}

void Line_analysis::end()
{
    host_.end();
    controller_.end();
    take_pieces(host_);
    take_pieces(controller_);
    settle(pairing_.end());
}

bool Line_analysis::next(Line_event& event)
{
    if (events_.empty())
        return false;
    const Line_event& first = events_.front();
    if (telling_ == Telling::in_order && first.is_request() && first.fate == Line_event::Fate::none)
        return false;
    event = std::move(events_.front());
    events_.pop_front();
    return true;
}

std::vector<Pairing::Request> Line_analysis::take_unanswered()
{
    return std::exchange(unanswered_, {});
}

void Line_analysis::take_pieces(Frame_scanner& scanner)
{
    Line_piece piece;
    while (scanner.next(piece))
        add(piece);
}

void Line_analysis::add(const Line_piece& piece)
{
    pass(piece.end_us);
    Line_event event;
    event.kind = kind_of(piece.kind);
    event.sender = piece.sender;
    event.number = ++last_number_;
    event.begin_us = piece.begin_us;
    event.end_us = piece.end_us;
    event.bytes = QByteArray(reinterpret_cast<const char*>(piece.data), piece.size);
    if (event.is_request()) {
        pairing_.take_request({event.number, event.id(), event.end_us});
    } else if (event.is_frame()) {
        if (const auto match = pairing_.take_answer(event.id())) {
            event.partner = match->request.number;
            event.response_us = event.end_us - match->request.time_us;
            event.is_late = match->is_late;
            Line_event* request = waiting(match->request.number);
            if (request != nullptr && !match->is_late) {
                request->fate = Line_event::Fate::answered;
                request->partner = event.number;
                request->response_us = event.response_us;
            }
        }
    }
    events_.push_back(std::move(event));
}

void Line_analysis::add_line_event(const Line_record& record)
{
    pass(record.time_us);
    Line_event event;
    event.kind = kind_of(record.kind);
    event.missing = record.missing;
    event.sender = record.sender;
    event.number = ++last_number_;
    event.begin_us = record.time_us;
    event.end_us = record.time_us;
    events_.push_back(std::move(event));
}

void Line_analysis::settle(const std::vector<Pairing::Request>& unanswered)
{
    for (const Pairing::Request& request : unanswered) {
        Line_event* event = waiting(request.number);
        if (event != nullptr)
            event->fate = Line_event::Fate::unanswered;
    }
    unanswered_.insert(unanswered_.end(), unanswered.begin(), unanswered.end());
}

/// The event that has not been told, by its number; null when it has been.
Line_event* Line_analysis::waiting(quint64 number)
{
    if (events_.empty() || number < events_.front().number)
        return nullptr;
    return &events_[static_cast<std::size_t>(number - events_.front().number)];
}
