#include "Examiner.h"

#include "Exchange.h"
#include "Frame.h"

#include <algorithm>
#include <utility>

namespace {

constexpr double us_per_ms = 1000;

/// How much longer a late answer is waited for.
constexpr int late_ms = 900;

bool is_message(const Line_event& event, uchar id)
{
    return event.is_frame() && event.id() == id;
}

} // namespace

Examiner::Examiner(Dialogue& said, int wait_ms) : dialogue(said), wait_ms_(wait_ms)
{
    dialogue.set_listener([this](const Line_event& event) {
        if (event.sender != Sender::controller)
            return;
        heard_.push_back(event);
        arrivals_.push_back({static_cast<double>(dialogue.last_look_us()) / us_per_ms,
                             static_cast<double>(event.end_us) / us_per_ms});
    });
}

std::optional<Message> Examiner::ask(const Message& request)
{
    return ask(frame_of(request), answer_to(request[0]));
}

std::optional<Message> Examiner::ask(const QByteArray& bytes, uchar answer)
{
    const std::size_t from = heard_.size();
    const auto now_ms = [this] { return static_cast<double>(dialogue.now_us()) / us_per_ms; };
    const double begin_ms = now_ms();
    dialogue.send(bytes);
    sent_ms_ = now_ms();
    const auto has_come = [&] { return find(answer, from) < heard_.size(); };
    const bool has_answer =
        dialogue.wait_until(has_come, wait_ms_) ||
        // One that is late must not be taken for the answer to what is asked next.
        (may_be_late() && dialogue.wait_until(has_come, late_ms));
    answer_ms_ = -1;
    if (!has_answer)
        return std::nullopt;
    const std::size_t at = find(answer, from);
    answer_ms_ = arrivals_[at].latest_ms - begin_ms;
    if (arrivals_[at].earliest_ms - sent_ms_ > wait_ms_)
        return std::nullopt;
    return Frame::message_of(heard_[at].bytes);
}

/// Whether it makes sense to wait longer: not for a controller that is silent.
bool Examiner::may_be_late()
{
    constexpr int patience = 2;
    asked_in_vain_ = heard_.empty() ? asked_in_vain_ + 1 : 0;
    return asked_in_vain_ <= patience;
}

std::optional<Message> Examiner::answer_to_once(const Message& request)
{
    const auto known = answers_.find(request[0]);
    return known != answers_.end() ? known->second : answers_[request[0]] = ask(request);
}

std::vector<Arrival> Examiner::collect(uchar id, int count, int ms)
{
    std::size_t at = heard_.size();
    std::vector<Arrival> arrivals;
    dialogue.wait_until(
        [&] {
            for (; at < heard_.size(); ++at) {
                if (is_message(heard_[at], id))
                    arrivals.push_back(arrivals_[at]);
            }
            return arrivals.size() >= static_cast<std::size_t>(count);
        },
        ms);
    return arrivals;
}

void Examiner::clean_up()
{
    const std::vector<Message> leftovers = std::exchange(leftovers_, {});
    std::for_each(leftovers.rbegin(), leftovers.rend(),
                  [this](const Message& request) { ask(request); });
}

/// Where the first message with an identifier is, from one on; behind the last one for none.
std::size_t Examiner::find(uchar id, std::size_t from) const
{
    const auto found =
        std::find_if(heard_.begin() + static_cast<std::ptrdiff_t>(from), heard_.end(),
                     [id](const Line_event& event) { return is_message(event, id); });
    return static_cast<std::size_t>(found - heard_.begin());
}

QByteArray frame_of(const Message& request)
{
    return Frame::build(request, Frame::host_address, Frame::controller_address);
}
