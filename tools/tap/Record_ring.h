#pragma once

#include "Line_record.h"

#include <QByteArray>

#include <deque>
#include <functional>

/// The newest records, as many as fit.
class Record_ring {
public:
    /// `capacity`: what they take together, in bytes.
    explicit Record_ring(std::size_t capacity) : capacity_(capacity) {}

    /// Adds one, in the place of the oldest ones when there is no room.
    void add(const Line_record& record);

    /// What they take, in bytes.
    std::size_t cost() const { return cost_; }

    /// Hands them over, oldest first.
    void for_each(const std::function<void(const Line_record&)>& take) const;

private:
    struct Entry {
        Line_record record;
        QByteArray bytes;
    };

    std::size_t capacity_;
    std::size_t cost_ = 0;
    std::deque<Entry> entries_;
};
