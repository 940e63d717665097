#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

/// One end of a local stream socket, in an event loop: never blocks, and keeps no more than a
/// bounded number of bytes for somebody who does not read.
///
/// Thread: the one of its event loop.
class Local_connection : public QObject {
    Q_OBJECT
public:
    /// What waits to be read by the other end at most, in bytes.
    static constexpr int most_waiting = 1 << 20;

    /// Takes a connected descriptor, which it closes.
    explicit Local_connection(int descriptor);
    ~Local_connection() override;
    Local_connection(const Local_connection&) = delete;
    Local_connection& operator=(const Local_connection&) = delete;

    bool is_open() const { return descriptor_ >= 0; }

    /// Sends bytes as the other end takes them. One that leaves too many waiting is dropped.
    void write(const QByteArray& bytes);

    /// Closes it; ended() is not emitted.
    void close();

Q_SIGNALS:
    void received(const QByteArray& bytes);
    /// The other end has closed it, is broken, or has been dropped. May be deleted later.
    void ended();

private:
    void read_some();
    void write_some();
    void end();

    int descriptor_;
    QSocketNotifier readable_;
    QSocketNotifier writable_;
    QByteArray waiting_;
};
