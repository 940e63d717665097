#pragma once

#include "Record_buffer.h"

#include <QByteArray>

#include <deque>
#include <memory>
#include <mutex>

/// The newest of what has passed on the line, for whoever wants to save it.
///
/// Thread: any one.
class Line_memory {
public:
    /// What it takes at most, in bytes.
    static constexpr std::size_t most_bytes = std::size_t{4} << 20;

    /// A recording of text of what is remembered at a moment, made a piece at a time: it never is
    /// in memory as a whole, and nobody waits for more than a piece of it.
    class Text {
    public:
        /// What a piece has at least, but for the last, in bytes; it ends with a line.
        static constexpr int piece_bytes = 16 * 1024;

        /// The next piece; empty behind the last.
        QByteArray next();

    private:
        friend class Line_memory;

        qint64 wall_clock_us_ = 0;
        std::deque<std::shared_ptr<const Record_batch>> blocks_;
        std::size_t record_ = 0; ///< the next, in the first block
        bool has_begun_ = false;
    };

    /// Adds a record. `wall_clock_us`: at time 0, since 1970 (UTC).
    void add(const Line_record& record, qint64 wall_clock_us);

    /// What is remembered now.
    Text text();

private:
    static constexpr std::size_t block_bytes = std::size_t{64} * 1024;

    mutable std::mutex mutex_;
    /// None but the last one changes, and that no more once it is part of a text.
    std::deque<std::shared_ptr<Record_batch>> blocks_;
    bool is_last_shared_ = false;
    std::size_t bytes_ = 0;
    qint64 wall_clock_us_ = 0;
};
