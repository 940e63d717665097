#pragma once

#include "Command.h"
#include "Text_error.h"

#include <QByteArray>
#include <QVector>

/// A series of commands, each with its time.
struct Script {
    struct Step {
        qint64 at_ms; ///< since the script began
        Action action;
    };

    QVector<Step> steps; ///< in the order of their times
    QVector<Text_error> errors;

    /// One step a line: a time, then a command. The time counts from the beginning of the script,
    /// or, with a + in front, from the step before.
    static Script parse(const QByteArray& text);

    /// How long it takes.
    qint64 length_ms() const { return steps.isEmpty() ? 0 : steps.last().at_ms; }
};
