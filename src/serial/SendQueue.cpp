#include "SendQueue.h"

#include <QMutexLocker>

bool SendQueue::push(const QByteArray& payload)
{
    const QMutexLocker locker(&mutex_);
    const bool had_entries = !entries_.isEmpty();
    entries_.append(payload);
    return had_entries;
}

std::optional<QByteArray> SendQueue::front() const
{
    const QMutexLocker locker(&mutex_);
    return first();
}

std::optional<QByteArray> SendQueue::pop()
{
    const QMutexLocker locker(&mutex_);
    if (!entries_.isEmpty())
        entries_.removeFirst();
    return first();
}

void SendQueue::clear()
{
    const QMutexLocker locker(&mutex_);
    entries_.clear();
}

int SendQueue::size() const
{
    const QMutexLocker locker(&mutex_);
    return static_cast<int>(entries_.size());
}

std::optional<QByteArray> SendQueue::first() const
{
    if (entries_.isEmpty())
        return std::nullopt;
    return entries_.first();
}
