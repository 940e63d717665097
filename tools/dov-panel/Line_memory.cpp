#include "Line_memory.h"

#include "Text_writer.h"

void Line_memory::add(const Line_record& record, qint64 wall_clock_us)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    ring_.add(record);
    wall_clock_us_ = wall_clock_us;
}

QByteArray Line_memory::text() const
{
    // Copied first, which is quick, so that the line never waits for the writing.
    Record_ring ring(most_bytes);
    qint64 wall_clock_us = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ring = ring_;
        wall_clock_us = wall_clock_us_;
    }
    QByteArray text = Text_writer::header(wall_clock_us);
    ring.for_each([&text](const Line_record& record) { text += Text_writer::line(record); });
    return text;
}
