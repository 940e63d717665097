#include "Line_statistics.h"

#include "Message_catalogue.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double us_per_ms = 1000;
constexpr double us_per_s = 1e6;
constexpr double bits_per_byte = 10; // start bit, eight of data, stop bit

QString identifier_text(uint id)
{
    return QStringLiteral("0x%1").arg(id, 2, 16, QLatin1Char('0'));
}

QJsonObject distribution_json(const Time_distribution& times)
{
    return {{QStringLiteral("count"), static_cast<qint64>(times.count())},
            {QStringLiteral("p50_ms"), times.quantile_ms(50)},
            {QStringLiteral("p90_ms"), times.quantile_ms(90)},
            {QStringLiteral("p99_ms"), times.quantile_ms(99)},
            {QStringLiteral("most_ms"), times.most_ms()}};
}

} // namespace

void Time_distribution::add(qint64 us, std::size_t most)
{
    ++count_;
    most_us_ = std::max(most_us_, us);
    is_sorted_ = false;
    if (times_us_.size() < most) {
        times_us_.push_back(us);
        return;
    }
    // Knuth's generator; the high half is the better one.
    random_ = random_ * 6364136223846793005U + 1442695040888963407U;
    const quint64 place = (random_ >> 32) % count_;
    if (place < most)
        times_us_[static_cast<std::size_t>(place)] = us;
}

double Time_distribution::most_ms() const
{
    return static_cast<double>(most_us_) / us_per_ms;
}

void Time_distribution::sort() const
{
    if (!is_sorted_)
        std::sort(times_us_.begin(), times_us_.end());
    is_sorted_ = true;
}

double Time_distribution::quantile_ms(int percent) const
{
    if (times_us_.empty())
        return 0;
    sort();
    const std::size_t rank = (times_us_.size() * static_cast<std::size_t>(percent) + 99) / 100;
    return static_cast<double>(times_us_[rank - 1]) / us_per_ms;
}

std::size_t Time_distribution::count_between(double from_ms, double to_ms) const
{
    sort();
    const auto at = [this](double ms) {
        return std::lower_bound(
            times_us_.begin(), times_us_.end(), ms * us_per_ms,
            [](qint64 us, double limit) { return static_cast<double>(us) < limit; });
    };
    return static_cast<std::size_t>(at(to_ms) - at(from_ms));
}

double Line_statistics::Kind_figures::rate_per_s() const
{
    return mean_us > 0 ? us_per_s / mean_us : 0;
}

double Line_statistics::Kind_figures::jitter_ms() const
{
    return count < 3 ? 0 : std::sqrt(deviations / static_cast<double>(count - 1)) / us_per_ms;
}

void Line_statistics::take(const Line_event& event)
{
    last_us_ = std::max(last_us_, event.end_us);
    bytes_[static_cast<std::size_t>(event.sender)] += static_cast<quint64>(event.bytes.size());
    switch (event.kind) {
    case Line_event::Kind::frame:
        take_frame(event);
        break;
    case Line_event::Kind::broken:
        ++checksum_errors_;
        break;
    case Line_event::Kind::skipped:
        skipped_bytes_ += static_cast<quint64>(event.bytes.size());
        break;
    case Line_event::Kind::hang_up:
        ++hang_ups_;
        break;
    case Line_event::Kind::gap:
        missing_records_ += event.missing;
        break;
    case Line_event::Kind::connection:
        break;
    }
}

void Line_statistics::take_frame(const Line_event& event)
{
    ++frames_[static_cast<std::size_t>(event.sender)];
    address_errors_ += event.has_right_addresses() ? 0 : 1;
    unknown_identifiers_ += find_message(event.id()) == nullptr ? 1 : 0;

    Kind_figures& kind = kinds_[event.id()];
    if (kind.count++ == 0) {
        kind.first_us = event.end_us;
    } else {
        // Welford: mean and squares in one pass.
        const auto period = static_cast<double>(event.end_us - kind.last_us);
        const double distance = period - kind.mean_us;
        kind.mean_us += distance / static_cast<double>(kind.count - 1);
        kind.deviations += distance * (period - kind.mean_us);
    }
    kind.last_us = event.end_us;

    if (event.fate == Line_event::Fate::unanswered)
        ++kind.unanswered;
    if (event.sender == Sender::controller && event.partner != 0) {
        Kind_figures& request = kinds_[static_cast<uchar>(event.id() - 1)];
        (event.is_late ? request.late_response : request.response)
            .add(event.response_us, most_times_);
        if (!event.is_late)
            response_.add(event.response_us, most_times_);
    }
    if (event.is_request() && event.id() == Message_id::digest_request) {
        const Field& interval = *find_field(Message_id::digest_request, "interval");
        digest_interval_ms_ = static_cast<int>(interval.scaled(interval.get(event.message())));
    }
}

quint64 Line_statistics::unanswered() const
{
    quint64 sum = 0;
    for (const Kind_figures& kind : kinds_)
        sum += kind.unanswered;
    return sum;
}

quint64 Line_statistics::late_answers() const
{
    quint64 sum = 0;
    for (const Kind_figures& kind : kinds_)
        sum += kind.late_response.count();
    return sum;
}

double Line_statistics::seconds() const
{
    return static_cast<double>(last_us_) / us_per_s;
}

double Line_statistics::load(Sender sender) const
{
    if (last_us_ == 0)
        return 0;
    const auto bytes = static_cast<double>(bytes_[static_cast<std::size_t>(sender)]);
    return bytes * bits_per_byte / baud_ / seconds();
}

QJsonObject Line_statistics::to_json() const
{
    QJsonObject identifiers;
    QJsonObject answers;
    for (uint id = 0; id < kinds_.size(); ++id) {
        const Kind_figures& kind = kinds_[id];
        if (kind.count > 0) {
            const Message_kind* known = find_message(static_cast<uchar>(id));
            identifiers[identifier_text(id)] =
                QJsonObject{{QStringLiteral("name"),
                             known == nullptr ? QJsonValue() : QLatin1String(known->name)},
                            {QStringLiteral("count"), static_cast<qint64>(kind.count)},
                            {QStringLiteral("rate_per_s"), kind.rate_per_s()},
                            {QStringLiteral("period_ms"), kind.period_ms()},
                            {QStringLiteral("jitter_ms"), kind.jitter_ms()}};
        }
        const bool is_request =
            kind.unanswered + kind.response.count() + kind.late_response.count() > 0;
        if (is_request) {
            QJsonObject answer = distribution_json(kind.response);
            answer[QStringLiteral("unanswered")] = static_cast<qint64>(kind.unanswered);
            answer[QStringLiteral("late")] = static_cast<qint64>(kind.late_response.count());
            answers[identifier_text(id)] = answer;
        }
    }
    QJsonObject digest;
    if (digest_interval_ms_ >= 0)
        digest[QStringLiteral("asked_ms")] = digest_interval_ms_;
    if (kinds_[Message_id::digest].count > 1)
        digest[QStringLiteral("kept_ms")] = kinds_[Message_id::digest].period_ms();
    return {{QStringLiteral("seconds"), seconds()},
            {QStringLiteral("host_frames"), static_cast<qint64>(host_frames())},
            {QStringLiteral("controller_frames"), static_cast<qint64>(controller_frames())},
            {QStringLiteral("checksum_errors"), static_cast<qint64>(checksum_errors_)},
            {QStringLiteral("address_errors"), static_cast<qint64>(address_errors_)},
            {QStringLiteral("skipped_bytes"), static_cast<qint64>(skipped_bytes_)},
            {QStringLiteral("unknown_identifiers"), static_cast<qint64>(unknown_identifiers_)},
            {QStringLiteral("unanswered"), static_cast<qint64>(unanswered())},
            {QStringLiteral("late_answers"), static_cast<qint64>(late_answers())},
            {QStringLiteral("hang_ups"), static_cast<qint64>(hang_ups_)},
            {QStringLiteral("missing_records"), static_cast<qint64>(missing_records_)},
            {QStringLiteral("host_load"), load(Sender::host)},
            {QStringLiteral("controller_load"), load(Sender::controller)},
            {QStringLiteral("digest"), digest},
            {QStringLiteral("response"), distribution_json(response_)},
            {QStringLiteral("identifiers"), identifiers},
            {QStringLiteral("answers"), answers}};
}
