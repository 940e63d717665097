#include "Tap_observer.h"

#include "Exchange.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QSaveFile>

#include <unistd.h>

namespace {

constexpr uint usual_baud = 115200;

/// How many response times of each request are kept for their quantiles: a tap runs for months.
constexpr std::size_t most_times = 4096;

constexpr int status_ms = 500;

/// When the line is quiet for so long, every request has its answer or none.
constexpr int quiet_ms = response_time_ms + 10;

constexpr std::size_t feed_bytes = std::size_t{1} << 20;

} // namespace

Tap_observer::Tap_observer(const Line_clock& clock, const Line_tap& tap, Record_buffer& seen)
    : clock_(clock),
      tap_(tap),
      seen_(seen),
      counted_(usual_baud, most_times),
      notifier_(seen.descriptor(), QSocketNotifier::Read)
{
    connect(&notifier_, &QSocketNotifier::activated, this, &Tap_observer::take);
    quiet_timer_.setSingleShot(true);
    // A coarse one may end before the last request's time is over.
    quiet_timer_.setTimerType(Qt::PreciseTimer);
    quiet_timer_.setInterval(quiet_ms);
    connect(&quiet_timer_, &QTimer::timeout, this, [this] {
        analysis_.pass(clock_.now_us());
        take_events();
    });
    status_timer_.setInterval(status_ms);
    connect(&status_timer_, &QTimer::timeout, this, &Tap_observer::write_status);
}

Tap_observer::~Tap_observer() = default;

QString Tap_observer::start(const Order& order)
{
    order_ = order;
    QString error = open_recordings();
    if (error.isEmpty() && !order_.socket.isEmpty()) {
        Recording_writer::Order feed = recording(order_.socket, Recording_writer::Format::pcapng);
        feed.rotation = {};
        feed.buffer = feed_bytes;
        error = feed_.open(order_.socket, feed);
    }
    if (!error.isEmpty())
        return error;
    if (order_.ring_bytes > 0)
        keeper_.emplace(Incident_keeper::Order{order_.keep, order_.ring_bytes, order_.kept_files,
                                               wall_clock(), order_.complain});
    if (order_.prints)
        output_.emplace(STDOUT_FILENO, order_.complain);
    if (!order_.status.isEmpty()) {
        write_status();
        status_timer_.start();
    }
    return {};
}

void Tap_observer::keep()
{
    take();
    if (keeper_)
        keeper_->keep(Incident_keeper::Reason::asked, clock_.now_us());
}

bool Tap_observer::end()
{
    take();
    analysis_.end();
    take_events();
    if (!order_.status.isEmpty())
        write_status();
    bool all = true;
    for (Recording_writer& recording : recordings_)
        all = recording.end() && all;
    return all;
}

Recording_writer::Order Tap_observer::recording(const QString& path,
                                                Recording_writer::Format format) const
{
    Recording_writer::Order made;
    made.path = path;
    made.format = format;
    made.rotation = order_.rotation;
    made.wall_clock_us = wall_clock();
    made.complain = order_.complain;
    return made;
}

/// Not by this: the threads of the writers may outlive it.
std::function<qint64()> Tap_observer::wall_clock() const
{
    return [clock = clock_] { return clock.wall_clock_us(); };
}

QString Tap_observer::open_recordings()
{
    QString error;
    if (!order_.record.isEmpty())
        error = recordings_.emplace_back().open(
            recording(order_.record, Recording_writer::Format::text));
    if (error.isEmpty() && !order_.pcapng.isEmpty())
        error = recordings_.emplace_back().open(
            recording(order_.pcapng, Recording_writer::Format::pcapng));
    return error;
}

/// What has passed since the last time.
void Tap_observer::take()
{
    seen_.take(batch_);
    for (std::size_t at = 0; at < batch_.size(); ++at) {
        const Line_record record = batch_[at];
        for (Recording_writer& recording : recordings_)
            recording.write(record);
        feed_.write(record);
        if (keeper_)
            keeper_->add(record);
        analysis_.take(record);
        take_events();
    }
    if (!batch_.empty())
        quiet_timer_.start();
}

void Tap_observer::take_events()
{
    Line_event event;
    while (analysis_.next(event))
        take_event(event);
    (void)analysis_.take_unanswered(); // events say it themselves
}

void Tap_observer::take_event(const Line_event& event)
{
    counted_.take(event);
    if (keeper_) {
        if (const auto reason = Incident_keeper::reason_of(event))
            keeper_->keep(*reason, clock_.now_us());
    }
    if (!output_)
        return;
    format_.set_wall_clock(clock_.wall_clock_us());
    format_.see(event);
    output_->line(order_.json ? QJsonDocument(format_.json(event)).toJson(QJsonDocument::Compact)
                              : format_.line(event, order_.style).toUtf8());
}

QJsonObject Tap_observer::status() const
{
    QJsonObject object = counted_.to_json();
    quint64 unwritten = 0;
    for (const Recording_writer& recording : recordings_)
        unwritten += recording.dropped();
    object[QStringLiteral("seconds")] = static_cast<double>(clock_.now_us()) / 1e6;
    object[QStringLiteral("tap")] = QJsonObject{
        {QStringLiteral("pid"), QCoreApplication::applicationPid()},
        {QStringLiteral("device"), order_.device},
        {QStringLiteral("link"), order_.link},
        {QStringLiteral("has_device"), tap_.has_device()},
        {QStringLiteral("has_host"), tap_.has_host()},
        {QStringLiteral("baudrate"), static_cast<qint64>(Serial_device::rate_of(tap_.speed()))},
        {QStringLiteral("host_bytes"), static_cast<qint64>(tap_.bytes_from(Sender::host))},
        {QStringLiteral("controller_bytes"),
         static_cast<qint64>(tap_.bytes_from(Sender::controller))},
        {QStringLiteral("unheard_bytes"), static_cast<qint64>(tap_.unheard_bytes())},
        {QStringLiteral("unseen_records"), static_cast<qint64>(seen_.dropped())},
        {QStringLiteral("unwritten_records"), static_cast<qint64>(unwritten)},
        {QStringLiteral("incidents"),
         keeper_ ? static_cast<qint64>(keeper_->incidents()) : qint64{0}},
        {QStringLiteral("kept_files"), keeper_ ? static_cast<qint64>(keeper_->kept()) : qint64{0}},
        {QStringLiteral("readers"), feed_.readers()}};
    return object;
}

/// In the place of the last one, whole: who reads it never finds half of it. For everybody,
/// whatever the recordings are for.
void Tap_observer::write_status()
{
    constexpr auto all_may_read = QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                  QFileDevice::ReadGroup | QFileDevice::ReadOther;
    QSaveFile file(order_.status);
    const QByteArray text = QJsonDocument(status()).toJson();
    const bool is_written = file.open(QIODevice::WriteOnly) && file.setPermissions(all_may_read) &&
                            file.write(text) == text.size() && file.commit();
    if (!is_written && !status_fails_)
        order_.complain(order_.status + QStringLiteral(": ") + file.errorString());
    status_fails_ = !is_written;
}
