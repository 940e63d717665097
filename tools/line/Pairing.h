#pragma once

#include <QtGlobal>

#include <array>
#include <deque>
#include <optional>
#include <vector>

/// Finds the answers of requests: identifier k is answered by k + 1, the oldest request first,
/// within 300 ms. A later k + 1 is a late answer when no other request k has come in between.
///
/// Times never go back. Before a message is taken, take_unanswered() is called with its time.
///
/// Thread: any one.
class Pairing {
public:
    struct Request {
        quint64 number; ///< the caller's; each another
        uchar id;
        qint64 time_us;
    };

    struct Match {
        Request request;
        bool is_late;
    };

    /// Takes a request.
    void take_request(const Request& request);

    /// Takes a message of the controller's: the request that it answers, if it does.
    std::optional<Match> take_answer(uchar id);

    /// The requests whose time is over at `now_us` without an answer, oldest first, each once.
    std::vector<Request> take_unanswered(qint64 now_us);

    /// All that still wait: nothing more will come.
    std::vector<Request> end();

private:
    bool is_waiting(const Request& request) const;

    std::array<std::deque<Request>, 256> waiting_;    ///< by identifier, oldest first
    std::array<std::optional<Request>, 256> overdue_; ///< by identifier
    std::deque<Request> order_; ///< all that wait, oldest first, and some that do no more
};
