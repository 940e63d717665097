#pragma once

#include <QByteArray>
#include <QMutex>
#include <QSemaphore>
#include <QThread>

/// Writes to a descriptor, blocking, what the port hands over.
///
/// Never ends. The result of a write is ignored.
class Threaded_serial_port_writer : public QThread {
    Q_OBJECT
public:
    /// What one write takes at most: exactly one controller frame.
    static constexpr int piece_size = 13;

    /// The descriptor to write; call before start().
    void set_descriptor(int descriptor) { descriptor_ = descriptor; }

    /// Appends to what is to be written and wakes the writer. Thread: any.
    void append(const char* bytes, int count);

Q_SIGNALS:
    /// Part of the interface; the writer never receives.
    void data_rx();

    /// The buffer has run empty after `bytes_sent` bytes since it last did so; 0 at the start.
    /// Emitted by the writing thread.
    void bytes_tx(int bytes_sent);

protected:
    void run() override;

private:
    QByteArray take_piece();

    QByteArray buffer_;
    QMutex mutex_; ///< guards the buffer
    QSemaphore news_;
    int descriptor_ = -1;
    int written_ = 0; ///< since the buffer last ran empty; the writing thread's own
};
