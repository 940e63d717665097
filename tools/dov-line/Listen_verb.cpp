#include "Listen_verb.h"

Listen_verb::Listen_verb() : Device_verb("listen", "Shows what the controller sends.")
{
    add_id(filter_);
    add_number("count", "number", "Ends after so many.", count_, 1);
    add_number("wait", "ms", "Ends after this time, with status 1 if fewer have come.", wait_ms_,
               0);
    add_time();
    add_json();
}

int Listen_verb::run(const QStringList& /*arguments*/)
{
    int seen = 0;
    Conversation conversation;
    conversation.set_listener([this, &seen](const Line_event& event) {
        const bool is_shown = filter_.wants(event) && (count_ == 0 || seen < count_);
        seen += is_shown ? 1 : 0;
        show(event, is_shown);
    });
    const int opened = open(conversation);
    if (opened != tool_done)
        return opened;
    conversation.wait_until(
        [this, &seen] { return (count_ > 0 && seen >= count_) || is_output_gone(); }, wait_ms_);
    const bool too_few = wait_ms_ >= 0 && seen < std::max(count_, 1);
    return end(conversation, too_few ? status_found : tool_done);
}
