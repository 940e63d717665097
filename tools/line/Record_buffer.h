#pragma once

#include "Line_record.h"

#include <mutex>
#include <vector>

/// Records, with their bytes, one after the other.
class Record_batch {
public:
    /// What one record takes, in bytes.
    static std::size_t cost_of(const Line_record& record)
    {
        return sizeof(Line_record) + static_cast<std::size_t>(record.size);
    }

    /// Makes room for records that cost so much, so that adding them takes none.
    void reserve(std::size_t cost);
    void add(const Line_record& record);
    void clear();

    bool empty() const { return records_.empty(); }
    std::size_t size() const { return records_.size(); }
    std::size_t cost() const { return records_.size() * sizeof(Line_record) + bytes_.size(); }

    /// Its bytes are there until the batch changes.
    Line_record operator[](std::size_t at) const;

private:
    std::vector<Line_record> records_;
    std::vector<std::size_t> begins_; ///< where the bytes of each are
    std::vector<uchar> bytes_;
};

/// Hands records from one thread to another, as many as fit. What does not fit is dropped, counted,
/// and marked as a gap where it is missing: nobody waits.
class Record_buffer {
public:
    /// `capacity`: the cost of what waits at most.
    explicit Record_buffer(std::size_t capacity);
    ~Record_buffer();
    Record_buffer(const Record_buffer&) = delete;
    Record_buffer& operator=(const Record_buffer&) = delete;

    /// Any thread. Never waits for the one that takes, but while that swaps two pointers.
    void put(const Line_record& record);

    /// The taking thread: all that waits, in the place of what is in the batch.
    void take(Record_batch& batch);

    /// Makes the descriptor readable though nothing may wait.
    void wake();

    /// Is readable when something waits to be taken.
    int descriptor() const { return news_; }

    /// How many records have been dropped.
    quint64 dropped() const;

private:
    const std::size_t capacity_;
    const int news_;
    mutable std::mutex mutex_;
    Record_batch waiting_;
    Line_record gap_{}; ///< behind what waits; no records are missing when there is none
    quint64 dropped_ = 0;
};
