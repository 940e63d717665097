#include "Line_memory.h"

#include "Text_writer.h"

#include <utility>

QByteArray Line_memory::Text::next()
{
    QByteArray piece;
    if (!std::exchange(has_begun_, true))
        piece = Text_writer::header(wall_clock_us_);
    while (!blocks_.empty() && piece.size() < piece_bytes) {
        const Record_batch& block = *blocks_.front();
        for (; record_ < block.size() && piece.size() < piece_bytes; ++record_)
            piece += Text_writer::line(block[record_]);
        if (record_ == block.size()) {
            blocks_.pop_front();
            record_ = 0;
        }
    }
    return piece;
}

void Line_memory::add(const Line_record& record, qint64 wall_clock_us)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::size_t cost = Record_batch::cost_of(record);
    if (blocks_.empty() || is_last_shared_ || blocks_.back()->cost() + cost > block_bytes) {
        blocks_.push_back(std::make_shared<Record_batch>());
        is_last_shared_ = false;
    }
    blocks_.back()->add(record);
    bytes_ += cost;
    wall_clock_us_ = wall_clock_us;
    while (bytes_ > most_bytes) {
        bytes_ -= blocks_.front()->cost();
        blocks_.pop_front();
    }
}

Line_memory::Text Line_memory::text()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    Text text;
    text.wall_clock_us_ = wall_clock_us_;
    text.blocks_.assign(blocks_.begin(), blocks_.end());
    is_last_shared_ = true;
    return text;
}
