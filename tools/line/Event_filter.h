#pragma once

#include "Condition.h"
#include "Field.h"
#include "Line_event.h"

#include <QString>
#include <QVector>

#include <optional>

/// Which events are wanted. Conditions of one kind are alternatives; those of different kinds
/// have to hold all.
class Event_filter {
public:
    /// Only what one side sends.
    void want_sender(Sender sender) { sender_ = sender; }

    /// Messages with an identifier, "0x36" or "54", or of a name, "digest". Returns an error's
    /// text, or nothing.
    QString want_message(const QString& text);

    /// Messages of which a field has, or passes, a value: NAME=VALUE, with one of = != < > <= >=
    /// and the value as it is written for people. Returns an error's text, or nothing.
    QString want_field(const QString& text);

    /// Broken frames, skipped bytes, wrong addresses, unknown identifiers, late answers, requests
    /// without one, hang-ups.
    void want_errors() { only_errors_ = true; }

    /// Requests without an answer.
    void want_unanswered() { only_unanswered_ = true; }

    bool wants(const Line_event& event) const;

private:
    struct Field_condition {
        const Field* field; ///< of one message
        Relation relation;
        qint64 number;
    };

    bool wants_message(const Line_event& event) const;
    bool wants_field(const Line_event& event) const;

    std::optional<Sender> sender_;
    QVector<uchar> ids_;
    QVector<Field_condition> conditions_;
    bool only_errors_ = false;
    bool only_unanswered_ = false;
};
