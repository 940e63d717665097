#include "Watch_model.h"

#include "Formats.h"

#include <algorithm>
#include <map>
#include <utility>

namespace {

constexpr qint64 rate_window_ms = 10000;

/// Whether the value is to be read now; forgets that its signal has come.
bool is_due(Watched_value& value, const Value_row& row)
{
    const bool heard = std::exchange(value.heard, false);
    switch (row.reading) {
    case Reading::never:
        return false;
    case Reading::once:
        return !value.fresh;
    case Reading::when_quiet:
        return !heard || !value.fresh;
    case Reading::always:
        return true;
    }
    return false;
}

/// An event's arguments as one value.
QVariant as_value(const QVariantList& arguments)
{
    return arguments.size() == 1 ? arguments.first() : QVariant(arguments);
}

void note_signal(Watched_object& object, const QString& member, const QVariantList& arguments,
                 qint64 now_ms)
{
    const auto& signal_rows = object.entry.kind->signals;
    for (std::size_t i = 0; i < signal_rows.size(); ++i)
        if (member == QLatin1String(signal_rows[i].name))
            object.heard[i] = {object.heard[i].count + 1, as_value(arguments), now_ms};
}

} // namespace

bool is_known(const QVariant& value)
{
    const bool is_number = value.userType() == QMetaType::Double;
    return value.isValid() && (!is_number || value.toDouble() > no_reading);
}

Watch_model::Watch_model()
{
    for (Catalogue_object& entry : catalogue_as_shown()) {
        index_.insert(entry.path, static_cast<int>(objects_.size()));
        if (entry.object == Device_object::display_backlight)
            backlight_ = static_cast<int>(objects_.size());
        Watched_object object;
        object.values.resize(entry.kind->values.size());
        object.heard.resize(entry.kind->signals.size());
        object.entry = std::move(entry);
        objects_.push_back(std::move(object));
    }
}

void Watch_model::set_owner(const QString& owner, qint64 now_ms)
{
    owner_ = owner;
    owner_ms_ = now_ms;
    for (Watched_object& object : objects_)
        for (Watched_value& value : object.values)
            value.fresh = false;
}

std::optional<Change> Watch_model::set_value(int object, int value, const QVariant& to,
                                             const QString& member, qint64 now_ms)
{
    Watched_object& watched = objects_[static_cast<std::size_t>(object)];
    Watched_value& state = watched.values[static_cast<std::size_t>(value)];
    state.fresh = true;
    if (state.value == to)
        return std::nullopt;
    // The first reading of an input is news, and no change of the input.
    state.has_changed = is_known(state.value);
    state.value = to;
    state.changed_ms = now_ms;
    if (state.has_changed) {
        ++watched.changes;
        if (watched.entry.kind->is_in_digest)
            digest_changes_.emplace_back(object, now_ms);
    }
    while (!digest_changes_.empty() && now_ms - digest_changes_.front().second > rate_window_ms)
        digest_changes_.pop_front();
    return Change{watched.entry.path, member, to};
}

std::optional<Change> Watch_model::take_reading(const Value_place& place, const QVariant& value,
                                                qint64 now_ms)
{
    const Watched_object& object = objects_[static_cast<std::size_t>(place.object)];
    const Value_row& row = object.entry.kind->values[static_cast<std::size_t>(place.value)];
    return set_value(place.object, place.value, value, QString::fromUtf8(row.getter), now_ms);
}

std::optional<Change> Watch_model::take_signal(const QString& path, const QString& interface,
                                               const QString& member, const QVariantList& arguments,
                                               qint64 now_ms)
{
    const int found = find(path);
    if (found < 0)
        return std::nullopt;
    Watched_object& object = objects_[static_cast<std::size_t>(found)];
    if (object.entry.interface != interface)
        return std::nullopt;
    ++signals_;
    last_signal_ms_ = now_ms;
    note_signal(object, member, arguments, now_ms);
    for (std::size_t i = 0; i < object.values.size(); ++i) {
        const char* signal = object.entry.kind->values[i].signal;
        if (signal == nullptr || member != QLatin1String(signal) || arguments.isEmpty())
            continue;
        object.values[i].heard = true;
        return set_value(found, static_cast<int>(i), arguments.first(), member, now_ms);
    }
    // An event. What is read once and not signalled may have changed with it.
    for (std::size_t i = 0; i < object.values.size(); ++i)
        if (object.entry.kind->values[i].signal == nullptr)
            object.values[i].fresh = false;
    ++object.changes;
    object.event_ms = now_ms;
    const QVariant value = as_value(arguments);
    object.last_event = (member + QLatin1Char(' ') + plain_text(value)).trimmed();
    return Change{path, member, value};
}

std::vector<Value_place> Watch_model::take_due(Due due_values)
{
    std::vector<Value_place> due;
    if (owner_.isEmpty())
        return due;
    for (std::size_t object = 0; object < objects_.size(); ++object) {
        std::vector<Watched_value>& values = objects_[object].values;
        for (std::size_t value = 0; value < values.size(); ++value)
            if (is_due(values[value], objects_[object].entry.kind->values[value]) &&
                (due_values == Due::all || !values[value].fresh))
                due.push_back({static_cast<int>(object), static_cast<int>(value)});
    }
    return due;
}

void Watch_model::sample()
{
    for (Watched_object& object : objects_) {
        if (object.entry.kind->spark_span <= 0.0)
            continue;
        const Watched_value& first = object.values.front();
        const bool known = first.fresh && !owner_.isEmpty() && is_known(first.value);
        object.history.add(known ? std::make_optional(first.value.toDouble()) : std::nullopt);
    }
}

Link_health Watch_model::health(qint64 now_ms) const
{
    Link_health health;
    health.owner = owner_;
    health.since_ms = owner_ms_;
    health.signals_seen = signals_;
    health.last_signal_ms = last_signal_ms_;
    std::map<int, int> changes;
    int most = 0;
    for (const auto& [object, time_ms] : digest_changes_)
        if (now_ms - time_ms <= rate_window_ms)
            most = std::max(most, ++changes[object]);
    health.digest_rate = most / (static_cast<double>(rate_window_ms) / 1000.0);
    for (const Watched_object& object : objects_) {
        if (object.entry.kind != &kinds::controller_version)
            continue;
        ++health.versions;
        const Watched_value& text = object.values.front();
        if (text.fresh && text.value.toString() != QLatin1String(unknown_version))
            ++health.versions_known;
    }
    return health;
}
