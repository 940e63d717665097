#pragma once

#include "Posix_serial_port.h"
#include "Threaded_serial_port_reader.h"
#include "Threaded_serial_port_writer.h"

#include <QIODevice>
#include <QMutex>
#include <QWaitCondition>

#include <limits>

/// A serial device whose blocking reads and writes run on two threads of their own.
///
/// The owner's thread sees a sequential device that never blocks: readyRead() when bytes have
/// arrived, bytesWritten() when everything has been written, read and write at once.
///
/// read(), peek(), readAll(), getChar(), ungetChar(), skip(), transactions and look() may be mixed
/// at will: they see one sequence of bytes. In its order it waits in the buffer of QIODevice, which
/// its own calls fill, in a block of this class, and with the reader. All of it can be read at any
/// time, whether readyRead() has told of it or not; readyRead() follows every arrival, and comes
/// also for bytes that have been read meanwhile.
///
/// A port is opened once per process and its threads live until the process ends; destroying an
/// open one is not possible.
///
/// Thread: the owner's, except notify_bytes_tx(), which the writer calls.
class Threaded_serial_port : public QIODevice, public Posix_serial_port {
    Q_OBJECT
public:
    /// In a flood, after how many bytes of packets the event loop gets a turn. It takes longer to
    /// handle packets than to receive them: a receiver that went on until there are no more would
    /// keep timers and calls waiting for as long as the flood lasts.
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

    /// All that has arrived and has not been read, wherever it waits.
    qint64 bytesAvailable() const override;
    bool canReadLine() const override;

    /// Waits until the writer has run out of bytes, at most `msecs`; whether it has.
    bool waitForBytesWritten(int msecs) override;

public Q_SLOTS:
    /// Emits readyRead(), whether or not there is anything to read. When its receivers have dropped
    /// `turn` bytes and stopped at that, it comes again in the next turn of the event loop.
    void notify_data_rx();

    /// Emits bytesWritten() and wakes who waits for it.
    void notify_bytes_tx(int bytes_sent);

protected:
    /// Takes at most `max` bytes that have arrived; 0 when there are none.
    qint64 readData(char* data, qint64 max) override;

    /// Appends to what the writer writes; always `len`.
    qint64 writeData(const char* data, qint64 len) override;

    /// The bytes that come next, where they wait: valid until anything but drop() is called here.
    struct View {
        const uchar* bytes;
        int size;
    };

    /// To be called before look(), and again when the port has been read in another way.
    void begin_looking() { looks_above_ = is_buffered_above(); }

    /// Looks at what comes next and leaves it there: at least `wanted` bytes, or all that have
    /// arrived. As peek(), but in place while QIODevice has no bytes of its own.
    View look(int wanted)
    {
        if (looks_above_)
            return look_above(wanted);
        if (waiting() < wanted)
            take_arrived();
        return {reinterpret_cast<const uchar*>(block_.constData()) + consumed_, waiting()};
    }

    /// Drops the first `count` bytes of a view, and returns what is left of it.
    View drop(const View& view, int count)
    {
        turn_left_ -= count;
        if (looks_above_)
            skip(count);
        else
            consumed_ += count;
        return {view.bytes + count, view.size - count};
    }

    /// Whether `turn` bytes have been dropped since readyRead() was emitted, while it is. A
    /// receiver that finds so stops.
    bool turn_is_over() const { return turn_left_ <= 0; }

    /// Hands bytes to the reader as if they had arrived, without telling of them.
    void put_received(const QByteArray& bytes);

private:
    /// Whether QIODevice has bytes of its own, which come first, or keeps what is read.
    bool is_buffered_above() const
    {
        return QIODevice::bytesAvailable() > 0 || isTransactionStarted();
    }
    View look_above(int wanted);
    bool take_arrived();
    int waiting() const { return static_cast<int>(block_.size()) - consumed_; }

    static constexpr qint64 no_turn = std::numeric_limits<qint64>::max();

    int descriptor_ = -1;
    Threaded_serial_port_reader reader_;
    Threaded_serial_port_writer writer_;
    QWaitCondition written_;
    QMutex written_mutex_;
    QByteArray peeked_; ///< a copy of what QIODevice has
    QByteArray block_;  ///< taken from the reader
    bool looks_above_ = false;
    int consumed_ = 0; ///< bytes at the front of the block that are done with
    qint64 turn_left_ = no_turn;
};
