#pragma once

#include "Text_error.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QString>
#include <QVector>

/// Bytes that went over the line together.
struct Trace_entry {
    qint64 time_us = 0; ///< since the recording began
    bool from_controller = false;
    QByteArray bytes;

    /// One line: seconds, direction, bytes in hexadecimal, and after a # what they mean.
    QString to_line() const;
};

/// A recording of the line.
struct Trace {
    QVector<Trace_entry> entries;
    QVector<Text_error> errors; ///< what could not be read

    static Trace parse(const QByteArray& text);
};

/// Writes a recording, each line at once, so that it is whole whenever the program ends.
class Trace_writer {
public:
    /// Returns an error's text, or nothing.
    QString open(const QString& path);

    void write(const Trace_entry& entry);

private:
    QFile file_;
};
