#pragma once

#include "Value_history.h"
#include "Watch_model.h"

#include <QJsonArray>
#include <QString>

#include <optional>
#include <vector>

/// What pages have been told of the terminal's values and events, and how the values went.
///
/// Pure: the caller says when it is: `now_ms` of the model's clock, `clock_ms` since 1970.
class Terminal_values {
public:
    /// The model outlives it.
    explicit Terminal_values(const Watch_model& model);

    /// Something has happened; what is no event does not count.
    void take_event(const Change& change, qint64 now_ms);

    /// The service has gone, and what has happened there with it.
    void forget_events();

    /// What has changed since the last call, as [object, member, value, age in ms] each. An event
    /// has its argument for its value, a list of several, or true for none; of several at once the
    /// last is told.
    QJsonArray take_changes(qint64 now_ms, qint64 clock_ms);

    /// All that is known, in the same form.
    QJsonArray all(qint64 now_ms) const;

    /// The last ten minutes of a value; none for a value that there is not.
    std::optional<QJsonArray> history(int object, const QString& member) const;

private:
    struct Value {
        int object;
        std::size_t index; ///< among the object's values
        QString member;
        bool is_truth;
        bool is_number;
        QVariant told; ///< invalid while it is not known
        Value_history history;
    };

    /// A signal that tells no value.
    struct Event {
        int object;
        QString member;
        QJsonValue last; ///< null for none yet
        qint64 time_ms = 0;
        bool is_told = true;
    };

    void add_events(int object, const Object_kind& kind);
    QVariant present(const Value& value) const;
    QJsonArray row(const Value& value, qint64 now_ms) const;
    static QJsonArray row(const Event& event, qint64 now_ms);

    const Watch_model& model_;
    std::vector<Value> values_;
    std::vector<Event> events_;
};
