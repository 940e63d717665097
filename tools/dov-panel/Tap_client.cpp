#include "Tap_client.h"

#include "Local_listener.h"
#include "Pcapng_recording.h"
#include "Signal_free_thread.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int again_ms = 500;
constexpr std::size_t buffer_bytes = std::size_t{1} << 20;

} // namespace

Tap_client::Tap_client(const QString& path)
    : path_(path), seen_(buffer_bytes), notifier_(seen_.descriptor(), QSocketNotifier::Read)
{
    connect(&notifier_, &QSocketNotifier::activated, this, &Tap_client::take);
    connect(&again_timer_, &QTimer::timeout, this, &Tap_client::connect_again);
    again_timer_.start(again_ms);
    connect_again();
}

Tap_client::~Tap_client()
{
    if (is_here())
        ::shutdown(descriptor_, SHUT_RDWR);
    if (thread_.joinable())
        thread_.join();
    if (is_here())
        ::close(descriptor_);
}

void Tap_client::connect_again()
{
    const int descriptor = Local_listener::connect_to(path_, error_);
    if (descriptor < 0)
        return;
    again_timer_.stop();
    error_.clear();
    has_ended_ = false;
    descriptor_ = descriptor;
    (void)::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    thread_ = signal_free_thread(
        [this, own = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0)] { read_all(own); });
    Q_EMIT presence_changed();
}

/// The thread.
void Tap_client::read_all(int descriptor)
{
    auto source = std::make_unique<Byte_source>();
    source->take(descriptor, path_);
    Pcapng_recording recording(std::move(source));
    Line_record record;
    while (recording.next(record)) {
        record.time_us += recording.wall_clock_us();
        seen_.put(record);
    }
    end_ = recording.error();
    has_ended_ = true;
    seen_.wake();
}

void Tap_client::take()
{
    // Asked first: what comes before the end is taken before it.
    const bool has_ended = has_ended_;
    seen_.take(batch_);
    for (std::size_t at = 0; at < batch_.size(); ++at)
        Q_EMIT passed(batch_[at]);
    if (has_ended)
        lose();
}

void Tap_client::lose()
{
    if (!is_here())
        return;
    thread_.join();
    ::close(descriptor_);
    descriptor_ = -1;
    error_ = end_.isEmpty() ? path_ + QStringLiteral(": the tap has ended the connection") : end_;
    again_timer_.start(again_ms);
    Q_EMIT presence_changed();
}
