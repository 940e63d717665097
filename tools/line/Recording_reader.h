#pragma once

#include "Line_record.h"

#include <QString>

#include <memory>

/// Reads a recording of the line, a record at a time and with bounded memory.
///
/// Thread: any one.
class Recording_reader {
public:
    /// What open() finds.
    struct Opened {
        std::unique_ptr<Recording_reader> reader; ///< null when it cannot be opened
        QString error;                            ///< then: "PATH: why"
    };

    /// Opens a recording: lines of text, or pcapng, told apart by the first bytes. "-" is standard
    /// input.
    static Opened open(const QString& path);

    virtual ~Recording_reader() = default;

    /// Reads the next record; false at the end, and at the first thing that cannot be read. What
    /// came before stays good.
    virtual bool next(Line_record& record) = 0;

    /// Why next() ended early, "PATH:LINE:COLUMN: why" or "PATH:BYTE: why"; empty at the end.
    const QString& error() const { return error_; }

    /// The wall clock at time 0, in microseconds since 1970 (UTC); -1 when it is not known.
    qint64 wall_clock_us() const { return wall_clock_us_; }

protected:
    QString error_;
    qint64 wall_clock_us_ = -1;
};
