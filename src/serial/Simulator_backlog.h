#pragma once

#include "Message.h"

#include <deque>
#include <optional>

/// What the simulator has to send and has not handed to its link, in order.
///
/// Reports in a row take no more room than one: each says the inputs of the tick behind that of the
/// report before it, so that their number is enough.
class Simulator_backlog {
public:
    /// Appends the report of the next tick, of which the first is 1.
    void add_report();

    /// Appends any other message.
    void add(const Message& message);

    bool is_empty() const { return entries_.empty(); }

    /// Removes the oldest, of which there has to be one, and returns it.
    Message take();

private:
    /// A row of reports, maybe none, and what follows it, if anything does.
    struct Entry {
        quint64 reports = 0;
        std::optional<Message> message;
    };

    Entry& open_entry();

    std::deque<Entry> entries_; ///< all but the last end with a message
    quint32 tick_ = 0;          ///< of the report taken last
};
