#pragma once

#include "Line_analysis.h"
#include "Recording_reader.h"

/// The events of one recording, one after the other.
class Recording_events {
public:
    /// Opens it; complains and returns false when that fails.
    bool open(const QString& path);

    /// The next event; false at the end, and, after complaining, where the recording is no good.
    bool next(Line_event& event);

    /// Whether it was read to its end.
    bool is_whole() const { return reader_->error().isEmpty(); }

    qint64 wall_clock_us() const { return reader_->wall_clock_us(); }

private:
    std::unique_ptr<Recording_reader> reader_;
    Line_analysis analysis_{Line_analysis::Telling::in_order};
    bool has_ended_ = false;
};
