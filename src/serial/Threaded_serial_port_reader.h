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
    /// the device's own buffer holds the line back then.
    static constexpr int backlog = 1024 * 1024;

    /// The descriptor to read; call before start().
    void set_descriptor(int descriptor) { descriptor_ = descriptor; }

    /// Moves everything that has arrived to the end of `bytes`; false when nothing has, and then
    /// data_rx() will tell of the next. Thread: any.
    bool take(QByteArray& bytes);

Q_SIGNALS:
    /// Bytes have arrived. Emitted by the reading thread, once until a take() finds nothing.
    void data_rx();

protected:
    void run() override;

private:
    bool keep(const char* bytes, int count);
    bool has_more() const;

    QByteArray buffer_;
    QMutex mutex_; ///< guards the buffer and the flag
    QWaitCondition taken_;
    bool announced_ = false; ///< somebody takes, or is on the way
    int descriptor_ = -1;
};
