#pragma once

#include <QByteArray>
#include <QList>
#include <QMutex>

#include <optional>

/// Payloads that wait to be sent, oldest first, without limit. Thread: any.
class SendQueue {
public:
    virtual ~SendQueue() = default;

    /// Appends a payload; whether there was anything before it.
    bool push(const QByteArray& payload);

    /// The oldest payload, or nothing.
    std::optional<QByteArray> front() const;

    /// Drops the oldest payload, if any, and returns the next one, or nothing.
    std::optional<QByteArray> pop();

    void clear();

    int size() const;

private:
    std::optional<QByteArray> first() const;

    QList<QByteArray> entries_;
    mutable QMutex mutex_;
};
