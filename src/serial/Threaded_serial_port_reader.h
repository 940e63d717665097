#pragma once

#include <QByteArray>
#include <QMutex>
#include <QThread>
#include <QWaitCondition>

/// Reads a descriptor, blocking, and keeps what arrives until the port takes it.
///
/// Never ends: a read that fails, or that finds the end of the file, is repeated at once.
class Threaded_serial_port_reader : public QThread {
    Q_OBJECT
public:
    /// What the reader holds at most, in bytes. A reader that holds more waits until it is taken:
    /// the device's own buffer holds the line back then, and the memory stays bounded.
    static constexpr int backlog = 1024 * 1024;

    /// The descriptor to read; call before start().
    void set_descriptor(int descriptor) { descriptor_ = descriptor; }

    /// Moves everything that has arrived to the end of `bytes`; whether there was anything.
    /// Thread: any.
    bool take(QByteArray& bytes);

    /// How many bytes have arrived that nobody has taken. Thread: any.
    int size() const;

    /// Whether a byte is among them. Thread: any.
    bool contains(char byte) const;

    /// Says that what has arrived so far is known of, taken or not: data_rx() tells of the next
    /// byte. Thread: any.
    void heard();

    /// Keeps bytes as if they had been read. Thread: any.
    void keep(const char* bytes, int count);

Q_SIGNALS:
    /// Bytes have arrived. Emitted by the reading thread, once until heard() is called.
    void data_rx();

protected:
    void run() override;

private:
    bool is_to_be_told(bool more_comes);

    QByteArray buffer_;
    mutable QMutex mutex_; ///< guards the buffer and what has been told of it
    QWaitCondition taken_;
    qint64 untold_ = 0;       ///< bytes that have arrived and that nobody has been told of
    bool on_the_way_ = false; ///< told, and not heard yet
    int descriptor_ = -1;
};
