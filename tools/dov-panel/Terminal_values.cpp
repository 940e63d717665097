#include "Terminal_values.h"

#include "Formats.h"

#include <algorithm>
#include <utility>

Terminal_values::Terminal_values(const Watch_model& model) : model_(model)
{
    int object = 0;
    for (const Watched_object& each : model.objects()) {
        std::size_t index = 0;
        for (const Value_row& row : each.entry.kind->values) {
            const QLatin1String type(row.type);
            const bool is_truth = type == QLatin1String("b");
            const bool is_number = is_truth || (type.size() == 1 && type != QLatin1String("s"));
            values_.push_back({object, index++,
                               QString::fromLatin1(row.getter != nullptr ? row.getter : row.signal),
                               is_truth, is_number, QVariant(), Value_history()});
        }
        add_events(object, *each.entry.kind);
        ++object;
    }
}

void Terminal_values::add_events(int object, const Object_kind& kind)
{
    for (const Signal_row& signal : kind.signals) {
        const QLatin1String name(signal.name);
        const bool is_of_value =
            std::any_of(kind.values.begin(), kind.values.end(), [&name](const Value_row& row) {
                return name == QLatin1String(row.signal);
            });
        if (signal.is_sent && !is_of_value)
            events_.push_back({object, name, QJsonValue()});
    }
}

void Terminal_values::take_event(const Change& change, qint64 now_ms)
{
    const int object = model_.find(change.path);
    const auto found = std::find_if(events_.begin(), events_.end(), [&](const Event& each) {
        return each.object == object && each.member == change.member;
    });
    if (found == events_.end())
        return;
    const QJsonValue value = json_value(change.value);
    found->last = value == QJsonArray() ? QJsonValue(true) : value;
    found->time_ms = now_ms;
    found->is_told = false;
}

void Terminal_values::forget_events()
{
    for (Event& event : events_) {
        event.is_told = event.last.isNull();
        event.last = QJsonValue();
    }
}

/// Invalid while it is not known.
QVariant Terminal_values::present(const Value& value) const
{
    const Watched_object& object = model_.objects()[static_cast<std::size_t>(value.object)];
    const Watched_value& watched = object.values[value.index];
    return watched.fresh && is_known(watched.value) ? watched.value : QVariant();
}

QJsonArray Terminal_values::take_changes(qint64 now_ms, qint64 clock_ms)
{
    QJsonArray changes;
    for (Value& value : values_) {
        const QVariant now = present(value);
        if (now == value.told && now.isValid() == value.told.isValid())
            continue;
        value.told = now;
        if (value.is_number)
            value.history.add(clock_ms,
                              now.isValid() ? std::optional(now.toDouble()) : std::nullopt);
        changes.append(row(value, now_ms));
    }
    for (Event& event : events_)
        if (!std::exchange(event.is_told, true))
            changes.append(row(event, now_ms));
    return changes;
}

QJsonArray Terminal_values::all(qint64 now_ms) const
{
    QJsonArray rows;
    for (const Value& value : values_)
        if (value.told.isValid())
            rows.append(row(value, now_ms));
    for (const Event& event : events_)
        if (!event.last.isNull())
            rows.append(row(event, now_ms));
    return rows;
}

QJsonArray Terminal_values::row(const Value& value, qint64 now_ms) const
{
    const Watched_object& object = model_.objects()[static_cast<std::size_t>(value.object)];
    const QJsonValue json = value.told.isValid() ? json_value(value.told) : QJsonValue();
    return {value.object, value.member, json, now_ms - object.values[value.index].changed_ms};
}

QJsonArray Terminal_values::row(const Event& event, qint64 now_ms)
{
    return {event.object, event.member, event.last, now_ms - event.time_ms};
}

std::optional<QJsonArray> Terminal_values::history(int object, const QString& member) const
{
    const auto found = std::find_if(values_.begin(), values_.end(), [&](const Value& each) {
        return each.object == object && each.member == member;
    });
    if (found == values_.end())
        return std::nullopt;
    return found->history.to_json(found->is_truth);
}
