#pragma once

#include "Record_buffer.h"
#include "Recording_file.h"

#include <QString>

#include <functional>
#include <memory>

/// Writes a recording of the line, as Recording_reader reads it, in a thread of its own: who hands
/// it records never waits for the disk.
///
/// Each record is written at once, whole. What cannot be written, or comes faster than it can, is
/// dropped, counted, and marked as a gap in the recording as soon as there is room again.
///
/// Thread: any one may write() and ask; one opens and ends.
class Recording_writer {
public:
    enum class Format : uchar { text, pcapng };

    /// What it is to do.
    struct Order {
        QString path; ///< "-" is standard output
        Format format = Format::text;
        Recording_file::Rotation rotation = {};
        std::size_t buffer = std::size_t{4} << 20; ///< what waits at most, in bytes
        /// The wall clock at time 0, in microseconds since 1970 (UTC), as it is known now: it
        /// changes when the clock is set. Called from any thread.
        std::function<qint64()> wall_clock_us;
        /// Is told, in the writer's thread, what is wrong: once until it is right again.
        std::function<void(const QString&)> complain;
    };

    Recording_writer() = default;
    /// Ends it.
    ~Recording_writer();
    Recording_writer(const Recording_writer&) = delete;
    Recording_writer& operator=(const Recording_writer&) = delete;

    /// Begins the recording. Returns an error's text, or nothing.
    QString open(const Order& order);

    /// Writes into a descriptor that it closes at the end; `order.path` only names it.
    void take(int descriptor, const Order& order);

    bool is_open() const { return work_ != nullptr; }

    /// Hands it a record; times never go back. Without a recording it is lost.
    void write(const Line_record& record);

    /// How many records are not in the recording and never will be.
    quint64 dropped() const;

    /// Whether nobody reads any more what it writes.
    bool has_lost_reader() const;

    /// Writes what waits and ends, but does not wait longer than so for a disk or a reader that
    /// does not take it. Whether all has been written.
    bool end(int timeout_ms = 2000);

    /// Begins to end: what waits is written, and what comes then is lost.
    void finish();

    /// Whether it has come to its end after finish().
    bool has_finished() const;

private:
    class Work;

    void start(std::shared_ptr<Work> work);

    std::shared_ptr<Work> work_; ///< shared with its thread, which may outlive this
};
