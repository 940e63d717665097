#include "Record_ring.h"

#include "Record_buffer.h"

void Record_ring::add(const Line_record& record)
{
    entries_.push_back(
        {record, QByteArray(reinterpret_cast<const char*>(record.data), record.size)});
    cost_ += Record_batch::cost_of(record);
    while (cost_ > capacity_ && !entries_.empty()) {
        cost_ -= Record_batch::cost_of(entries_.front().record);
        entries_.pop_front();
    }
}

void Record_ring::for_each(const std::function<void(const Line_record&)>& take) const
{
    for (const Entry& entry : entries_) {
        Line_record record = entry.record;
        record.data = reinterpret_cast<const uchar*>(entry.bytes.constData());
        take(record);
    }
}
