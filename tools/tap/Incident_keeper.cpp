#include "Incident_keeper.h"

#include "Message_catalogue.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace {

constexpr qint64 us_per_ms = 1000;

/// Between two files of one reason, if nobody asks.
constexpr qint64 least_distance_us = 60000000;

/// By Incident_keeper::Reason.
constexpr const char* reason_texts[] = {"checksum", "unanswered", "unknown", "hang-up", "asked"};

} // namespace

Incident_keeper::Incident_keeper(const Order& order) : order_(order), ring_(order.ring_bytes)
{
}

std::optional<Incident_keeper::Reason> Incident_keeper::reason_of(const Line_event& event)
{
    switch (event.kind) {
    case Line_event::Kind::broken:
        return Reason::checksum;
    case Line_event::Kind::hang_up:
        return Reason::hang_up;
    case Line_event::Kind::frame:
        if (event.fate == Line_event::Fate::unanswered)
            return Reason::unanswered;
        if (find_message(event.id()) == nullptr)
            return Reason::unknown;
        break;
    case Line_event::Kind::skipped:
    case Line_event::Kind::connection:
    case Line_event::Kind::gap:
        break;
    }
    return std::nullopt;
}

void Incident_keeper::keep(Reason reason, qint64 now_us)
{
    ++incidents_;
    writers_.remove_if([](const Recording_writer& writer) { return writer.has_finished(); });
    std::optional<qint64>& last_us = last_us_[static_cast<std::size_t>(reason)];
    const bool is_too_soon = last_us && now_us - *last_us < least_distance_us;
    if (is_too_soon && reason != Reason::asked)
        return;
    last_us = now_us;
    Recording_writer::Order order;
    order.path = name_of(reason, now_us);
    order.buffer = ring_.cost() + sizeof(Line_record);
    order.wall_clock_us = order_.wall_clock_us;
    order.complain = order_.complain;
    Recording_writer& writer = writers_.emplace_back();
    const QString error = writer.open(order);
    if (!error.isEmpty()) {
        order_.complain(error);
        writers_.pop_back();
        return;
    }
    ++kept_;
    ring_.for_each([&writer](const Line_record& record) { writer.write(record); });
    writer.finish();
    remove_oldest();
}

/// A later one than before: two of one millisecond would be one file.
QString Incident_keeper::name_of(Reason reason, qint64 now_us)
{
    last_name_ms_ = std::max((order_.wall_clock_us() + now_us) / us_per_ms, last_name_ms_ + 1);
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(last_name_ms_).toUTC();
    return QStringLiteral("%1-%2-%3.txt")
        .arg(order_.path, time.toString(QStringLiteral("yyyyMMddTHHmmss.zzzZ")),
             QLatin1String(reason_texts[static_cast<std::size_t>(reason)]));
}

/// Also of those that an earlier run has left.
void Incident_keeper::remove_oldest() const
{
    const QFileInfo path(order_.path);
    QStringList reasons;
    for (const char* text : reason_texts)
        reasons.append(QLatin1String(text));
    const QRegularExpression name(
        QStringLiteral("^%1-\\d{8}T\\d{6}\\.\\d{3}Z-(%2)\\.txt$")
            .arg(QRegularExpression::escape(path.fileName()), reasons.join(QLatin1Char('|'))));
    QDir directory = path.dir();
    QStringList names = directory.entryList(QDir::Files, QDir::Name).filter(name);
    while (static_cast<int>(names.size()) > order_.files)
        directory.remove(names.takeFirst());
}
