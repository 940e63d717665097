#pragma once

#include "Frame_scanner.h"
#include "Line_event.h"
#include "Pairing.h"

#include <deque>
#include <vector>

/// Turns what went over the line into events in the order of time: frames, and what is between
/// them, answers with their requests, requests with what became of them.
///
/// A request is told once its fate is known, at most 300 ms of the recording's time later, and
/// what follows it after it. When that would be too late, as on a screen, `at_once` tells each
/// event as soon as it is there, requests with no fate.
///
/// Thread: any one.
class Line_analysis {
public:
    enum class Telling : uchar { in_order, at_once };

    explicit Line_analysis(Telling telling) : telling_(telling) {}

    /// Takes a record; times never go back.
    void take(const Line_record& record);

    /// Time passes without bytes: requests may have become unanswered.
    void pass(qint64 now_us);

    /// Nothing follows.
    void end();

    /// The next event; false when there is none yet.
    bool next(Line_event& event);

    /// The requests whose time has passed without an answer since the last call, oldest first.
    std::vector<Pairing::Request> take_unanswered();

private:
    void take_pieces(Frame_scanner& scanner);
    void add(const Line_piece& piece);
    void add_line_event(const Line_record& record);
    void settle(const std::vector<Pairing::Request>& unanswered);
    Line_event* waiting(quint64 number);

    Telling telling_;
    Frame_scanner host_{Sender::host};
    Frame_scanner controller_{Sender::controller};
    Pairing pairing_;
    std::deque<Line_event> events_; ///< not told yet, by number
    quint64 last_number_ = 0;
    std::vector<Pairing::Request> unanswered_;
};
