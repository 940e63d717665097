#include "Simulator_backlog.h"

#include "Simulator_waveform.h"

void Simulator_backlog::add_report()
{
    ++open_entry().reports;
}

void Simulator_backlog::add(const Message& message)
{
    open_entry().message = message;
}

Message Simulator_backlog::take()
{
    Entry& oldest = entries_.front();
    if (oldest.reports > 0) {
        --oldest.reports;
        if (oldest.reports == 0 && !oldest.message)
            entries_.pop_front();
        return simulated_digest(++tick_);
    }
    const Message taken = *oldest.message;
    entries_.pop_front();
    return taken;
}

/// The last entry, one that no message ends yet.
Simulator_backlog::Entry& Simulator_backlog::open_entry()
{
    if (entries_.empty() || entries_.back().message)
        entries_.emplace_back();
    return entries_.back();
}
