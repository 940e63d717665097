#pragma once

#include "Posix_serial_port.h"
#include "Threaded_serial_port_reader.h"
#include "Threaded_serial_port_writer.h"

#include <QIODevice>
#include <QMutex>
#include <QWaitCondition>

/// A serial device whose blocking reads and writes run on two threads of their own.
///
/// The owner's thread sees a sequential device that never blocks: readyRead() when bytes have
/// arrived, bytesWritten() when everything has been written, read and write at once.
///
/// What arrives waits in two places: with the reader, and, once the owner's thread has been told,
/// in a block of this class that it looks at in place. At most `turn` bytes of it come in sight
/// for each readyRead(), so that a flood leaves the event loop time for everything else.
///
/// A port is opened once per process and its threads live until the process ends; destroying an
/// open one is not possible.
///
/// Thread: the owner's, except notify_bytes_tx(), which the writer calls.
class Threaded_serial_port : public QIODevice, public Posix_serial_port {
    Q_OBJECT
public:
    /// What one readyRead() brings in sight at most, in bytes.
    static constexpr int turn = 16 * 1024;

    Threaded_serial_port();

    int handle() override { return descriptor_; }

    using QIODevice::open;

    /// Opens the device for reading and writing, configures it and starts the threads. Without
    /// effect when it is open. A null path or a device that cannot be opened leaves it closed,
    /// which handle() shows; a device that is no terminal is used as it is.
    virtual void open(const char* path);

    /// Restores the terminal settings and closes the device; nothing else of the state changes.
    /// The descriptor's number stays taken, so that the threads, which go on, can never reach a
    /// file that is opened later.
    void close() override;

    bool isSequential() const override { return true; }

    /// Waits until the writer has run out of bytes, at most `msecs`; whether it has.
    bool waitForBytesWritten(int msecs) override;

public Q_SLOTS:
    /// Brings arrived bytes in sight and emits readyRead().
    void notify_data_rx();

    /// Emits bytesWritten() and wakes who waits for it.
    void notify_bytes_tx(int bytes_sent);

protected:
    /// Takes at most `max` bytes that have arrived; 0 when there are none.
    qint64 readData(char* data, qint64 max) override;

    /// Appends to what the writer writes; always `len`.
    qint64 writeData(const char* data, qint64 len) override;

    /// The bytes in sight that have not been consumed. Valid until the next call of anything
    /// else here but consume().
    const uchar* received() const
    {
        return reinterpret_cast<const uchar*>(block_.constData()) + consumed_;
    }
    int received_size() const { return in_sight_ - consumed_; }

    /// Drops the first `count` of the bytes in sight.
    void consume(int count) { consumed_ += count; }

    /// Appends to the bytes in sight, as if they had arrived.
    void put_received(const QByteArray& bytes);

private:
    bool take_arrived();
    void drop_consumed();

    int descriptor_ = -1;
    Threaded_serial_port_reader reader_;
    Threaded_serial_port_writer writer_;
    QWaitCondition written_;
    QMutex written_mutex_;
    QByteArray block_; ///< taken from the reader
    int consumed_ = 0; ///< bytes at the front of the block that are done with
    int in_sight_ = 0; ///< where the part of the block that may be looked at ends
};
