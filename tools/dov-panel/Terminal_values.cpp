#include "Terminal_values.h"

#include "Formats.h"

#include <algorithm>

namespace {

/// Whether the first argument of the signal is a value of the object's.
bool carries_value(const Object_kind& kind, const char* signal)
{
    return std::any_of(kind.values.begin(), kind.values.end(), [signal](const Value_row& row) {
        return row.signal != nullptr && QLatin1String(row.signal) == QLatin1String(signal);
    });
}

QJsonValue json_of_arguments(const QVariant& arguments)
{
    const bool is_none =
        arguments.userType() == QMetaType::QVariantList && arguments.toList().isEmpty();
    return is_none ? QJsonValue(true) : json_value(arguments);
}

} // namespace

Terminal_values::Terminal_values(const Watch_model& model) : model_(model)
{
    for (int index = 0; index < static_cast<int>(model.objects().size()); ++index) {
        add_values(index);
        add_signals(index);
    }
}

void Terminal_values::add_values(int object)
{
    std::size_t index = 0;
    for (const Value_row& row : this->object(object).entry.kind->values) {
        const QLatin1String type(row.type);
        const bool is_truth = type == QLatin1String("b");
        const bool is_number = is_truth || (type.size() == 1 && type != QLatin1String("s"));
        values_.push_back({object, index++,
                           QString::fromLatin1(row.getter != nullptr ? row.getter : row.signal),
                           is_truth, is_number, QVariant(), Value_history()});
    }
}

void Terminal_values::add_signals(int object)
{
    const Object_kind& kind = *this->object(object).entry.kind;
    std::size_t index = 0;
    for (const Signal_row& row : kind.signals)
        signals_.push_back(
            {object, index++, QString::fromLatin1(row.name), carries_value(kind, row.name)});
}

const Watched_object& Terminal_values::object(int index) const
{
    return model_.objects()[static_cast<std::size_t>(index)];
}

const Heard_signal& Terminal_values::heard(const Signal& signal) const
{
    return object(signal.object).heard[signal.index];
}

/// Invalid while it is not known.
QVariant Terminal_values::present(const Value& value) const
{
    const Watched_value& watched = object(value.object).values[value.index];
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
    take_signals(changes, now_ms);
    return changes;
}

void Terminal_values::take_signals(QJsonArray& changes, qint64 now_ms)
{
    for (Signal& signal : signals_) {
        const quint64 count = heard(signal).count;
        const bool is_soon =
            signal.carries_value && signal.told > 0 && now_ms - signal.told_ms < count_ms;
        if (count == signal.told || is_soon)
            continue;
        signal.told = count;
        signal.told_ms = now_ms;
        changes.append(row(signal, now_ms));
    }
}

QJsonArray Terminal_values::all(qint64 now_ms) const
{
    QJsonArray rows;
    for (const Value& value : values_)
        if (value.told.isValid())
            rows.append(row(value, now_ms));
    for (const Signal& signal : signals_)
        if (signal.told > 0)
            rows.append(row(signal, now_ms));
    return rows;
}

QJsonArray Terminal_values::row(const Value& value, qint64 now_ms) const
{
    const QJsonValue json = value.told.isValid() ? json_value(value.told) : QJsonValue();
    return {value.object, value.member, json,
            now_ms - object(value.object).values[value.index].changed_ms};
}

QJsonArray Terminal_values::row(const Signal& signal, qint64 now_ms) const
{
    const Heard_signal& last = heard(signal);
    return {signal.object, signal.name, json_of_arguments(last.arguments), now_ms - last.heard_ms,
            static_cast<qint64>(last.count)};
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
