#pragma once

#include "Record_ring.h"

#include <QByteArray>

#include <mutex>

/// The newest of what has passed on the line, for whoever wants to save it.
///
/// Thread: any one.
class Line_memory {
public:
    /// What it takes at most, in bytes.
    static constexpr std::size_t most_bytes = std::size_t{4} << 20;

    /// Adds a record. `wall_clock_us`: at time 0, since 1970 (UTC).
    void add(const Line_record& record, qint64 wall_clock_us);

    /// As a recording of text.
    QByteArray text() const;

private:
    mutable std::mutex mutex_;
    Record_ring ring_{most_bytes};
    qint64 wall_clock_us_ = 0;
};
