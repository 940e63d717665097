#include "Record_buffer.h"

#include <sys/eventfd.h>
#include <unistd.h>

void Record_batch::reserve(std::size_t cost)
{
    const std::size_t records = cost / sizeof(Line_record);
    records_.reserve(records);
    begins_.reserve(records);
    bytes_.reserve(cost);
}

void Record_batch::add(const Line_record& record)
{
    begins_.push_back(bytes_.size());
    if (record.size > 0)
        bytes_.insert(bytes_.end(), record.data, record.data + record.size);
    records_.push_back(record);
}

void Record_batch::clear()
{
    records_.clear();
    begins_.clear();
    bytes_.clear();
}

Line_record Record_batch::operator[](std::size_t at) const
{
    Line_record record = records_[at];
    record.data = record.size > 0 ? bytes_.data() + begins_[at] : nullptr;
    return record;
}

Record_buffer::Record_buffer(std::size_t capacity)
    : capacity_(capacity), news_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (news_ < 0)
        qFatal("no descriptor for records");
    waiting_.reserve(capacity_);
}

Record_buffer::~Record_buffer()
{
    ::close(news_);
}

void Record_buffer::put(const Line_record& record)
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const bool was_empty = waiting_.empty();
        // Behind a gap there is nothing until that has been taken.
        if (gap_.missing > 0 || waiting_.cost() + Record_batch::cost_of(record) > capacity_) {
            if (gap_.missing++ == 0)
                gap_ = {record.time_us, record.sender, Line_record::Kind::gap, nullptr, 0, 1};
            ++dropped_;
        } else {
            waiting_.add(record);
        }
        if (!was_empty)
            return;
    }
    wake();
}

void Record_buffer::wake()
{
    (void)eventfd_write(news_, 1);
}

void Record_buffer::take(Record_batch& batch)
{
    batch.clear();
    batch.reserve(capacity_);
    eventfd_t count = 0;
    (void)eventfd_read(news_, &count);
    const std::lock_guard<std::mutex> lock(mutex_);
    std::swap(batch, waiting_);
    if (gap_.missing > 0)
        batch.add(gap_);
    gap_ = {};
}

quint64 Record_buffer::dropped() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return dropped_;
}
