#pragma once

#include "Line_record.h"
#include "Text_error.h"

#include <QByteArray>
#include <QString>
#include <QVector>

/// Bytes that went over the line together.
struct Trace_entry {
    qint64 time_us = 0; ///< since the recording began
    bool from_controller = false;
    QByteArray bytes;

    /// As recordings have it, as long as the bytes are there.
    Line_record record() const;

    /// One line of a recording, without its end.
    QString to_line() const;
};

/// A recording of the line.
struct Trace {
    QVector<Trace_entry> entries;
    QVector<Text_error> errors; ///< what could not be read

    static Trace parse(const QByteArray& text);
};
