#include "Asking_verb.h"

#include "Interview.h"

#include <algorithm>

namespace {

constexpr qint64 us_per_ms = 1000;

} // namespace

Asking_verb::Asking_verb(const char* name, const char* description, int count, int interval_ms)
    : Device_verb(name, description), count_(count), interval_ms_(interval_ms)
{
    add_number("count", "number", "How many rounds; 0: until it is told to end.", count_, 0);
    add_number("interval", "ms", "Time from one round to the next.", interval_ms_, 0);
    add_number("wait", "ms", "How long an answer may take; 300. 0: none is waited for.", wait_ms_,
               0);
    add_time();
    add_json();
}

int Asking_verb::ask(const QVector<QByteArray>& requests)
{
    Conversation conversation;
    Interview interview(conversation, wait_ms_);
    conversation.set_listener([this, &interview](const Line_event& event) {
        show(event);
        interview.see(event);
    });
    const int opened = open(conversation);
    if (opened != tool_done)
        return opened;

    const auto is_over = [&] { return conversation.is_over() || is_output_gone(); };
    for (qint64 round = 0; (count_ == 0 || round < count_) && !is_over(); ++round) {
        const qint64 begin_ms = round * interval_ms_;
        conversation.pass(
            static_cast<int>(std::max<qint64>(begin_ms - conversation.now_us() / us_per_ms, 0)));
        for (const QByteArray& request : requests) {
            if (!is_over())
                interview.ask(request);
        }
    }
    if (count_ != 1 || requests.size() > 1)
        tell(interview.text(), interview.json());
    return end(conversation, interview.has_unanswered() ? status_found : tool_done);
}
