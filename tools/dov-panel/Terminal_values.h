#pragma once

#include "Value_history.h"
#include "Watch_model.h"

#include <QJsonArray>
#include <QString>

#include <optional>
#include <vector>

/// What pages have been told of the terminal's values and signals, and how the values went.
///
/// Pure: the caller says when it is: `now_ms` of the model's clock, `clock_ms` since 1970.
class Terminal_values {
public:
    /// A signal that carries a value is counted at most so often: the value itself is told at once.
    static constexpr qint64 count_ms = 1000;

    /// The model outlives it.
    explicit Terminal_values(const Watch_model& model);

    /// What has changed since the last call: of values [object, member, value, age in ms] each, and
    /// of signals [object, name, arguments, age in ms, how many]. No argument is true, and several
    /// are a list.
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

    struct Signal {
        int object;
        std::size_t index; ///< among the object's signals
        QString name;
        bool carries_value;
        quint64 told = 0; ///< how many
        qint64 told_ms = 0;
    };

    void add_values(int object);
    void add_signals(int object);
    void take_signals(QJsonArray& changes, qint64 now_ms);
    const Watched_object& object(int index) const;
    const Heard_signal& heard(const Signal& signal) const;
    QVariant present(const Value& value) const;
    QJsonArray row(const Value& value, qint64 now_ms) const;
    QJsonArray row(const Signal& signal, qint64 now_ms) const;

    const Watch_model& model_;
    std::vector<Value> values_;
    std::vector<Signal> signals_;
};
