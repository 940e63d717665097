#include "Flawed_controller.h"

#include <algorithm>

namespace {

constexpr int frame_size = 13;

/// From a request to its answer.
constexpr qint64 answer_ms = 1;

uchar sum_of(const QByteArray& bytes)
{
    uchar sum = 0;
    for (const char byte : bytes)
        sum = static_cast<uchar>(sum + static_cast<uchar>(byte));
    return sum;
}

bool is_good(const QByteArray& frame)
{
    return static_cast<uchar>(frame[frame_size - 1]) == sum_of(frame.left(frame_size - 1));
}

/// How long the two halves of a frame may be apart.
qint64 longest_pause_ms(Flawed_controller::Flaw flaw)
{
    switch (flaw) {
    case Flawed_controller::Flaw::forgets_in_pauses:
        return 40;
    case Flawed_controller::Flaw::forgets_in_long_pauses:
        return 200;
    default:
        return -1;
    }
}

/// How much later answers are than they should.
qint64 late_ms(Flawed_controller::Flaw flaw)
{
    switch (flaw) {
    case Flawed_controller::Flaw::is_late:
        return 800;
    case Flawed_controller::Flaw::is_very_late:
        return 3'600'000;
    default:
        return 0;
    }
}

} // namespace

Flawed_controller::Flawed_controller(Flaw flaw) : flaw_(flaw)
{
    if (flaw_ == Flaw::babbles)
        rhythms_.push_back({50, 50, QByteArray::fromHex("18ef00ee4218787859")});
    if (flaw_ == Flaw::starts_with_digests)
        rhythms_.push_back({30, 30, {}});
}

void Flawed_controller::receive(const QByteArray& bytes, qint64 now_ms)
{
    const qint64 pause_ms = longest_pause_ms(flaw_);
    if (pause_ms >= 0 && now_ms - last_byte_ms_ > pause_ms)
        pending_.clear();
    last_byte_ms_ = now_ms;
    pending_.append(bytes);
    while (take_frame(now_ms)) {
    }
}

/// Whether there may be another one.
bool Flawed_controller::take_frame(qint64 now_ms)
{
    const QByteArray sync = QByteArray::fromHex("18ef");
    if (flaw_ != Flaw::reads_blocks) {
        while (!pending_.isEmpty() && !pending_.startsWith(sync) && pending_ != sync.left(1))
            pending_.remove(0, 1);
    }
    if (pending_.size() < frame_size)
        return false;
    const QByteArray frame = pending_.left(frame_size);
    if (!is_good(frame) && flaw_ != Flaw::ignores_checksums) {
        pending_.remove(0, flaw_ == Flaw::reads_blocks ? frame_size : 1);
        if (flaw_ == Flaw::gives_up_on_sync)
            pending_.clear();
        return true;
    }
    pending_.remove(0, frame_size);
    Message request{};
    std::copy_n(frame.begin() + 4, request.size(), request.begin());
    handle(request, now_ms);
    return true;
}

void Flawed_controller::handle(const Message& request, qint64 now_ms)
{
    const Controller_state before = model_.state;
    auto answer = model_.receive(request, now_ms);
    is_dead_ = is_dead_ || flaw_ == Flaw::is_silent || (flaw_ == Flaw::dies_of_unknown && !answer);
    if (is_dead_ || !answer)
        return;
    if (request[0] == 0x35)
        follow_digest_request(request[1] * 50, now_ms);
    if (flaw_ == Flaw::is_stuck || flaw_ == Flaw::is_forgetful)
        model_.state = before;
    if (flaw_ == Flaw::is_stuck)
        answer = model_.report((*answer)[0], now_ms);
    const qint64 at_ms = now_ms + answer_ms + late_ms(flaw_);
    send(*answer, at_ms);
    if (flaw_ == Flaw::answers_twice)
        send(*answer, at_ms);
    if (flaw_ == Flaw::invents)
        send({0x99}, at_ms);
}

void Flawed_controller::follow_digest_request(int interval_ms, qint64 now_ms)
{
    if (interval_ms == 0 ? flaw_ != Flaw::never_ends_digests : flaw_ != Flaw::adds_digests)
        rhythms_.erase(std::remove_if(rhythms_.begin(), rhythms_.end(),
                                      [](const Rhythm& each) { return each.bytes.isEmpty(); }),
                       rhythms_.end());
    if (interval_ms == 0)
        return;
    const qint64 kept_ms = flaw_ == Flaw::has_slow_digests ? 2 * interval_ms : interval_ms;
    rhythms_.push_back({kept_ms, now_ms + kept_ms, {}});
}

void Flawed_controller::send(const Message& message, qint64 at_ms)
{
    QByteArray frame = frame_of(message);
    if (flaw_ != Flaw::sends_pieces) {
        outbox_.emplace(at_ms, frame);
        return;
    }
    constexpr int piece = 4;
    constexpr qint64 between_ms = 5;
    free_ms_ = std::max(free_ms_, at_ms);
    for (; !frame.isEmpty(); frame.remove(0, piece), free_ms_ += between_ms)
        outbox_.emplace(free_ms_, frame.left(piece));
}

QByteArray Flawed_controller::frame_of(const Message& message)
{
    QByteArray frame = QByteArray::fromHex(flaw_ == Flaw::speaks_as_host ? "18ef7859" : "18ef5978");
    frame.append(reinterpret_cast<const char*>(message.data()), static_cast<int>(message.size()));
    const bool is_broken =
        flaw_ == Flaw::breaks_frames || (flaw_ == Flaw::breaks_one_frame && !has_broken_);
    has_broken_ = true;
    frame.append(static_cast<char>(sum_of(frame) + (is_broken ? 1 : 0)));
    if (flaw_ == Flaw::mumbles)
        frame.prepend("um");
    return frame;
}

qint64 Flawed_controller::next_ms() const
{
    qint64 next = outbox_.empty() ? -1 : outbox_.begin()->first;
    for (const Rhythm& each : rhythms_)
        next = next < 0 ? each.next_ms : std::min(next, each.next_ms);
    return next;
}

QByteArray Flawed_controller::send_next()
{
    const qint64 now_ms = next_ms();
    for (Rhythm& each : rhythms_) {
        if (each.next_ms != now_ms)
            continue;
        each.next_ms += each.interval_ms;
        if (each.bytes.isEmpty())
            send(*model_.report(0x36, now_ms), now_ms);
        return each.bytes;
    }
    const QByteArray bytes = outbox_.begin()->second;
    outbox_.erase(outbox_.begin());
    return bytes;
}
