#include "Pairing.h"

#include "Exchange.h"

#include <limits>

namespace {

constexpr qint64 response_time_us = qint64{response_time_ms} * 1000;
constexpr qint64 never = std::numeric_limits<qint64>::max();

} // namespace

void Pairing::take_request(const Request& request)
{
    overdue_[request.id].reset();
    waiting_[request.id].push_back(request);
    order_.push_back(request);
}

std::optional<Pairing::Match> Pairing::take_answer(uchar id)
{
    if (id == 0)
        return std::nullopt;
    const auto request_id = static_cast<uchar>(id - 1);
    std::deque<Request>& waiting = waiting_[request_id];
    std::optional<Request>& overdue = overdue_[request_id];
    if (!waiting.empty()) {
        const Match match = {waiting.front(), false};
        waiting.pop_front();
        return match;
    }
    if (overdue) {
        const Match match = {*overdue, true};
        overdue.reset();
        return match;
    }
    return std::nullopt;
}

std::vector<Pairing::Request> Pairing::take_unanswered(qint64 now_us)
{
    std::vector<Request> unanswered;
    for (; !order_.empty(); order_.pop_front()) {
        const Request& oldest = order_.front();
        const bool waits = is_waiting(oldest);
        if (waits && now_us - oldest.time_us <= response_time_us)
            break;
        if (!waits)
            continue;
        unanswered.push_back(oldest);
        waiting_[oldest.id].pop_front();
        if (waiting_[oldest.id].empty())
            overdue_[oldest.id] = oldest;
    }
    return unanswered;
}

std::vector<Pairing::Request> Pairing::end()
{
    return take_unanswered(never);
}

/// Answers take the oldest of an identifier: one that waits and is the oldest of all is the first.
bool Pairing::is_waiting(const Request& request) const
{
    const std::deque<Request>& waiting = waiting_[request.id];
    return !waiting.empty() && waiting.front().number == request.number;
}
