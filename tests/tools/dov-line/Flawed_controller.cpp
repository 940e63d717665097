#include "Flawed_controller.h"

#include <algorithm>

#include <unistd.h>

namespace {

constexpr int frame_size = 13;
constexpr int pause_ms = 40;

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

} // namespace

Flawed_controller::Flawed_controller(Flaw flaw) : flaw_(flaw)
{
    connect(&notifier_, &QSocketNotifier::activated, this, &Flawed_controller::receive);
    clock_.start();
}

void Flawed_controller::receive()
{
    char bytes[256];
    const ssize_t count = read(line_.own(), bytes, sizeof bytes);
    if (count <= 0)
        return;
    const qint64 now_ms = clock_.elapsed();
    if (flaw_ == Flaw::forgets_in_pauses && now_ms - last_byte_ms_ > pause_ms)
        pending_.clear();
    last_byte_ms_ = now_ms;
    pending_.append(bytes, static_cast<int>(count));
    while (take_frame()) {
    }
}

/// Whether there may be another one.
bool Flawed_controller::take_frame()
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
    handle(request);
    return true;
}

void Flawed_controller::handle(const Message& request)
{
    const Controller_state before = model_.state;
    auto answer = model_.receive(request, clock_.elapsed());
    is_dead_ = is_dead_ || (flaw_ == Flaw::dies_of_unknown && !answer);
    if (is_dead_ || !answer)
        return;
    if (request[0] == 0x35)
        follow_digest_request(request[1] * 50);
    if (flaw_ == Flaw::is_stuck || flaw_ == Flaw::is_forgetful)
        model_.state = before;
    if (flaw_ == Flaw::is_stuck)
        answer = model_.report((*answer)[0], clock_.elapsed());
    send(*answer);
    if (flaw_ == Flaw::answers_twice)
        send(*answer);
    if (flaw_ == Flaw::invents)
        send({0x99});
}

void Flawed_controller::follow_digest_request(int interval_ms)
{
    if (interval_ms == 0 ? flaw_ != Flaw::never_ends_digests : flaw_ != Flaw::adds_digests)
        timers_.clear();
    if (interval_ms == 0)
        return;
    timers_.push_back(std::make_unique<QTimer>());
    timers_.back()->setTimerType(Qt::PreciseTimer);
    connect(timers_.back().get(), &QTimer::timeout, this,
            [this] { send(*model_.report(0x36, clock_.elapsed())); });
    timers_.back()->start(flaw_ == Flaw::has_slow_digests ? 2 * interval_ms : interval_ms);
}

void Flawed_controller::send(const Message& message)
{
    QByteArray frame = QByteArray::fromHex(flaw_ == Flaw::speaks_as_host ? "18ef7859" : "18ef5978");
    frame.append(reinterpret_cast<const char*>(message.data()), static_cast<int>(message.size()));
    frame.append(static_cast<char>(sum_of(frame)));
    if (flaw_ == Flaw::mumbles)
        frame.prepend("um");
    if (write(line_.own(), frame.constData(), static_cast<std::size_t>(frame.size())) !=
        frame.size())
        qFatal("the line is full");
}
