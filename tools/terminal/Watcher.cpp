#include "Watcher.h"

namespace {

constexpr int again_ms = 1000;

/// Empty for an error that is none.
QString text_of_refusal(const QDBusError& error)
{
    const bool is_refusal = error.type() == QDBusError::AccessDenied ||
                            error.name().endsWith(QLatin1String(".AuthFailed"));
    return is_refusal ? error.message() : QString();
}

} // namespace

Watcher::Watcher(const Order& order) : order_(order), bus_(order.address)
{
    clock_.start();
    for (const Watched_object& each : model_.objects())
        interfaces_ += each.entry.interface;
    connect(&bus_, &Bus_client::owner_changed, this, &Watcher::take_owner);
    connect(&bus_, &Bus_client::owner_missing, this, &Watcher::service_missing);
    connect(&bus_, &Bus_client::signal_received, this, &Watcher::take_signal);
    // The connection cannot be taken down from within its own news.
    connect(&bus_, &Bus_client::bus_lost, this, &Watcher::lose_bus, Qt::QueuedConnection);
    connect(&read_timer_, &QTimer::timeout, this, &Watcher::read_due);
    connect(&sample_timer_, &QTimer::timeout, this, [this] { model_.sample(); });
    connect(&again_timer_, &QTimer::timeout, this, &Watcher::try_again);
    sample_timer_.start(History::sample_ms);
}

Watcher::~Watcher()
{
    set_back();
}

bool Watcher::start()
{
    bus_connected_ = bus_.open(interfaces_);
    refusal_ = bus_connected_ ? QString() : text_of_refusal(bus_.error());
    return bus_connected_;
}

void Watcher::start_when_possible()
{
    if (!start())
        again_timer_.start(again_ms);
}

const Watched_object& Watcher::object(int index) const
{
    return model_.objects()[static_cast<std::size_t>(index)];
}

void Watcher::tell(const std::optional<Change>& change)
{
    if (change)
        Q_EMIT changed(*change);
}

void Watcher::take_owner(const QString& owner)
{
    const bool has_left = !owner_.isEmpty();
    owner_ = owner;
    reading_.clear();
    settings_.clear();
    refusal_.clear();
    model_.set_owner(owner, now_ms());
    Q_EMIT changed({QString::fromLatin1(service_name), QStringLiteral("owner"),
                    owner.isEmpty() ? QStringLiteral("none") : owner});
    if (has_left)
        Q_EMIT service_left();
    read_timer_.stop();
    if (owner.isEmpty())
        return;
    set_in_inputs();
    read_due();
    read_timer_.start(order_.interval_ms > 0 ? order_.interval_ms : again_ms);
}

void Watcher::take_signal(const QDBusMessage& message)
{
    const QString path = message.path();
    ++signals_[path];
    const std::optional<Change> change = model_.take_signal(
        path, message.interface(), message.member(), message.arguments(), now_ms());
    tell(change);
    const int found = model_.find(path);
    if (found < 0)
        return;
    // An event can be the reason to read again what is read once.
    const Watched_object& source = object(found);
    for (std::size_t i = 0; i < source.values.size(); ++i)
        if (source.entry.kind->values[i].reading == Reading::once && !source.values[i].fresh)
            read({found, static_cast<int>(i)});
}

void Watcher::lose_bus()
{
    bus_connected_ = false;
    read_timer_.stop();
    reading_.clear();
    settings_.clear();
    owner_.clear();
    bus_.close();
    model_.set_owner(QString(), now_ms());
    again_timer_.start(again_ms);
    Q_EMIT bus_lost();
}

void Watcher::try_again()
{
    if (start())
        again_timer_.stop();
}

void Watcher::read_due()
{
    const auto due = order_.interval_ms > 0 ? Watch_model::Due::all : Watch_model::Due::unknown;
    for (const Value_place& place : model_.take_due(due))
        read(place);
}

void Watcher::read(const Value_place& place)
{
    const Catalogue_object& entry = object(place.object).entry;
    const QString getter =
        QString::fromLatin1(entry.kind->values[static_cast<std::size_t>(place.value)].getter);
    const QString key = entry.path + QLatin1Char(' ') + getter;
    if (reading_.contains(key))
        return;
    reading_ += key;
    const QString path = entry.path;
    bus_.call(
        path, entry.interface, getter, {},
        [this, place, key, path, before = signals_.value(path)](const QVariant& value) {
            reading_ -= key;
            if (owner_.isEmpty())
                return;
            // An answer can be handed over behind a signal that has been sent after it.
            if (signals_.value(path) != before) {
                read(place);
                return;
            }
            refusal_.clear();
            tell(model_.take_reading(place, value, now_ms()));
            end_reading(key);
        },
        [this, key](const QDBusError& error) {
            refusal_ = text_of_refusal(error);
            Q_EMIT unreadable(key + QStringLiteral(": ") + error.message());
            end_reading(key);
        });
}

void Watcher::end_reading(const QString& key)
{
    reading_ -= key;
    if (reading_.isEmpty())
        Q_EMIT all_read();
}

void Watcher::read_values(int object)
{
    const Object_kind& kind = *this->object(object).entry.kind;
    for (std::size_t i = 0; i < kind.values.size(); ++i)
        if (kind.values[i].getter != nullptr)
            read({object, static_cast<int>(i)});
}

void Watcher::set_in_inputs()
{
    for (std::size_t i = 0; i < model_.objects().size(); ++i) {
        const int input = static_cast<int>(i);
        if (object(input).entry.kind->settings.size() == 0)
            continue;
        if (order_.hysteresis)
            replace_setting(input, QStringLiteral("hysteresis"), *order_.hysteresis);
        if (order_.report_ms)
            replace_setting(input, QStringLiteral("time_out"), *order_.report_ms);
    }
}

void Watcher::replace_setting(int object, const QString& name, const QVariant& value)
{
    const Catalogue_object& entry = this->object(object).entry;
    const auto refuse = [this](const QDBusError& error) { Q_EMIT refused(error.message()); };
    bus_.call(
        entry.path, entry.interface, QStringLiteral("get_") + name, {},
        [this, object, name, value, refuse](const QVariant& old) {
            const QString setter = QStringLiteral("set_") + name;
            settings_.push_back({object, setter, old});
            const Catalogue_object& input = this->object(object).entry;
            bus_.call(
                input.path, input.interface, setter, {value}, [](const QVariant&) {}, refuse);
        },
        refuse);
}

void Watcher::set_back()
{
    for (const Setting& setting : settings_) {
        const Catalogue_object& entry = object(setting.object).entry;
        if (!bus_.call_now(entry.path, entry.interface, setting.setter, {setting.value}).isValid())
            return;
    }
}

void Watcher::call(int object, const QString& method, const QVariantList& arguments,
                   const Bus_client::Answer& answer, const Bus_client::Failure& failure)
{
    const Catalogue_object& entry = this->object(object).entry;
    bus_.call(
        entry.path, entry.interface, method, arguments,
        [this, object, answer](const QVariant& value) {
            answer(value);
            read_values(object);
        },
        failure);
}

void Watcher::command(int object, const QString& method, const QVariantList& arguments)
{
    call(
        object, method, arguments, [](const QVariant&) {},
        [this](const QDBusError& error) { Q_EMIT refused(error.message()); });
}

void Watcher::switch_output(int object, bool on)
{
    command(object, on ? QStringLiteral("on") : QStringLiteral("off"), {});
}

void Watcher::enable_output(int object, bool enabled)
{
    command(object, enabled ? QStringLiteral("enable") : QStringLiteral("disable"), {});
}

void Watcher::set_brightness(double percent)
{
    command(model_.backlight(), QStringLiteral("set_brightness"), {percent});
}
