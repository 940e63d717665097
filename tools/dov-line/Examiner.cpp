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

Examiner::Examiner(int wait_ms)
    : conversation([this](const Line_event& event) {
          if (event.sender == Sender::controller)
              heard_.push_back(event);
      }),
      wait_ms_(wait_ms)
{
}

std::optional<Message> Examiner::ask(const Message& request)
{
    return ask(frame_of(request), answer_to(request[0]));
}

std::optional<Message> Examiner::ask(const QByteArray& bytes, uchar answer)
{
    const std::size_t from = heard_.size();
    const qint64 begin_us = conversation.now_us();
    conversation.send(bytes);
    const auto has_come = [&] { return find(answer, from).has_value(); };
    const bool is_in_time = conversation.wait_until(has_come, wait_ms_);
    // One that is late must not be taken for the answer to what is asked next.
    const bool has_answer =
        is_in_time || (may_be_late() && conversation.wait_until(has_come, late_ms));
    answer_ms_ =
        has_answer ? static_cast<double>(conversation.now_us() - begin_us) / us_per_ms : -1;
    return is_in_time ? find(answer, from) : std::nullopt;
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

std::vector<double> Examiner::collect(uchar id, int count, int ms)
{
    const std::size_t from = heard_.size();
    std::vector<double> times_ms;
    conversation.wait_until(
        [&] {
            times_ms.clear();
            for (std::size_t at = from; at < heard_.size(); ++at) {
                if (is_message(heard_[at], id))
                    times_ms.push_back(static_cast<double>(heard_[at].end_us) / us_per_ms);
            }
            return times_ms.size() >= static_cast<std::size_t>(count);
        },
        ms);
    return times_ms;
}

void Examiner::clean_up()
{
    const std::vector<Message> leftovers = std::exchange(leftovers_, {});
    std::for_each(leftovers.rbegin(), leftovers.rend(),
                  [this](const Message& request) { ask(request); });
}

std::optional<Message> Examiner::find(uchar id, std::size_t from) const
{
    const auto found =
        std::find_if(heard_.begin() + static_cast<std::ptrdiff_t>(from), heard_.end(),
                     [id](const Line_event& event) { return is_message(event, id); });
    return found == heard_.end() ? std::nullopt
                                 : std::optional<Message>(Frame::message_of(found->bytes));
}

QByteArray frame_of(const Message& request)
{
    return Frame::build(request, Frame::host_address, Frame::controller_address);
}
