#include "Line_watch.h"

#include "Exchange.h"
#include "Explanation.h"

#include <QStringList>

#include <algorithm>
#include <utility>

namespace {

constexpr uint usual_baud = 115200;

/// How many response times of each request are kept for their quantiles: a page may be open for
/// weeks.
constexpr std::size_t most_times = 1024;

constexpr qint64 us_per_ms = 1000;

/// When the line is quiet for so long, every request has its answer or none.
constexpr int quiet_ms = response_time_ms + 10;

/// What is wrong with it; null for nothing.
QJsonValue fault_of(const Line_event& event)
{
    switch (event.kind) {
    case Line_event::Kind::broken:
        return QStringLiteral("checksum");
    case Line_event::Kind::skipped:
        return QStringLiteral("skipped");
    case Line_event::Kind::hang_up:
        return QStringLiteral("hang-up");
    case Line_event::Kind::connection:
        return QStringLiteral("connection");
    case Line_event::Kind::gap:
        return QStringLiteral("gap");
    case Line_event::Kind::frame:
        break;
    }
    if (!event.has_right_addresses())
        return QStringLiteral("address");
    if (find_message(event.id()) == nullptr)
        return QStringLiteral("unknown");
    return event.is_late ? QJsonValue(QStringLiteral("late")) : QJsonValue();
}

QString fields_text(const Line_event& event)
{
    QStringList texts;
    for (const Explained_field& field : explain(event.message(), message_size))
        texts.append(label_of(*field.field) + QLatin1Char(' ') + field.text);
    return texts.join(QStringLiteral(", "));
}

} // namespace

Line_watch::Line_watch() : counted_(usual_baud, most_times)
{
    quiet_timer_.setSingleShot(true);
    quiet_timer_.setInterval(quiet_ms);
    connect(&quiet_timer_, &QTimer::timeout, this, [this] {
        last_us_ += quiet_ms * us_per_ms;
        shown_.pass(last_us_);
        in_order_.pass(last_us_);
        take_events();
    });
}

void Line_watch::take(const Line_record& record)
{
    if (origin_us_ < 0)
        origin_us_ = record.time_us;
    Line_record since_origin = record;
    // A wall clock can be set back; time here cannot.
    last_us_ = std::max(last_us_, record.time_us - origin_us_);
    since_origin.time_us = last_us_;
    memory_.add(since_origin, origin_us_);
    shown_.take(since_origin);
    in_order_.take(since_origin);
    take_events();
    quiet_timer_.start();
}

void Line_watch::set_wanted(bool wanted)
{
    is_wanted_ = wanted;
    if (!wanted) {
        frames_ = {};
        dropped_ = 0;
    }
}

QJsonArray Line_watch::take_frames()
{
    return std::exchange(frames_, {});
}

quint64 Line_watch::take_dropped()
{
    return std::exchange(dropped_, 0);
}

void Line_watch::take_events()
{
    Line_event event;
    while (in_order_.next(event))
        counted_.take(event);
    (void)in_order_.take_unanswered(); // events say it themselves
    while (shown_.next(event))
        if (is_wanted_)
            show(event);
    for (const Pairing::Request& request : shown_.take_unanswered())
        if (is_wanted_)
            show_unanswered(request);
}

void Line_watch::show(const Line_event& event)
{
    const bool has_message = event.is_frame();
    const Message_kind* const kind = has_message ? find_message(event.id()) : nullptr;
    const bool is_answer = event.partner != 0;
    add_frame({
        {QStringLiteral("n"), static_cast<qint64>(event.number)},
        {QStringLiteral("time"), since_1970_ms(event.begin_us)},
        {QStringLiteral("from"),
         event.sender == Sender::host ? QStringLiteral("host") : QStringLiteral("controller")},
        {QStringLiteral("id"), has_message ? QJsonValue(event.id()) : QJsonValue()},
        {QStringLiteral("name"),
         kind == nullptr ? QJsonValue() : QJsonValue(QString::fromLatin1(kind->label))},
        {QStringLiteral("text"), has_message ? fields_text(event) : QString()},
        {QStringLiteral("bytes"), QString::fromLatin1(event.bytes.toHex())},
        {QStringLiteral("answers"),
         is_answer ? QJsonValue(static_cast<qint64>(event.partner)) : QJsonValue()},
        {QStringLiteral("response_ms"),
         is_answer ? QJsonValue(static_cast<double>(event.response_us) / us_per_ms) : QJsonValue()},
        {QStringLiteral("fault"), fault_of(event)},
    });
}

/// The request again, which has been shown before it was known.
void Line_watch::show_unanswered(const Pairing::Request& request)
{
    const Message_kind* const kind = find_message(request.id);
    add_frame({
        {QStringLiteral("n"), static_cast<qint64>(request.number)},
        {QStringLiteral("time"), since_1970_ms(request.time_us)},
        {QStringLiteral("from"), QStringLiteral("host")},
        {QStringLiteral("id"), request.id},
        {QStringLiteral("name"),
         kind == nullptr ? QJsonValue() : QJsonValue(QString::fromLatin1(kind->label))},
        {QStringLiteral("text"), QStringLiteral("no answer")},
        {QStringLiteral("bytes"), QString()},
        {QStringLiteral("answers"), QJsonValue()},
        {QStringLiteral("response_ms"), QJsonValue()},
        {QStringLiteral("fault"), QStringLiteral("unanswered")},
    });
}

void Line_watch::add_frame(const QJsonObject& frame)
{
    if (frames_.size() < most_frames)
        frames_.append(frame);
    else
        ++dropped_;
}

qint64 Line_watch::since_1970_ms(qint64 time_us) const
{
    return (origin_us_ + time_us) / us_per_ms;
}
