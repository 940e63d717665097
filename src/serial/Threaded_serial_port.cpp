#include "Threaded_serial_port.h"

#include "Console.h"

#include <QMutexLocker>

#include <algorithm>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// Closes what is behind the descriptor and leaves an empty pipe there: who still reads it sleeps
/// for good, instead of taking the bytes of the next file that would get the number.
void retire(int descriptor)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        ::close(descriptor);
        return;
    }
    dup3(ends[0], descriptor, O_CLOEXEC);
    ::close(ends[0]); // the writing end stays open, or a read would find the end of the file
}

} // namespace

Threaded_serial_port::Threaded_serial_port()
{
    connect(&reader_, &Threaded_serial_port_reader::data_rx, this,
            &Threaded_serial_port::notify_data_rx);
    connect(&writer_, &Threaded_serial_port_writer::bytes_tx, this,
            &Threaded_serial_port::notify_bytes_tx, Qt::DirectConnection);
}

void Threaded_serial_port::open(const char* path)
{
    if (descriptor_ >= 0 || path == nullptr)
        return;
    descriptor_ = ::open(path, O_RDWR);
    if (descriptor_ < 0)
        return;
    fcntl(descriptor_, F_SETFD, FD_CLOEXEC);
    init_port();
    reader_.set_descriptor(descriptor_);
    reader_.start();
    writer_.set_descriptor(descriptor_);
    writer_.start();
    // Unbuffered: the block is the only buffer, whichever way it is read.
    QIODevice::open(QIODevice::ReadWrite | QIODevice::Unbuffered);
}

void Threaded_serial_port::close()
{
    restore_port();
    if (descriptor_ >= 0)
        retire(descriptor_);
}

bool Threaded_serial_port::waitForBytesWritten(int msecs)
{
    const QMutexLocker locker(&written_mutex_);
    return written_.wait(&written_mutex_, static_cast<unsigned long>(msecs));
}

void Threaded_serial_port::notify_data_rx()
{
    const Console_batch batch;
    for (int left = turn; left > 0;) {
        if (in_sight_ == block_.size() && !take_arrived())
            return; // the reader tells when there is more
        const int shown = std::min(left, block_.size() - in_sight_);
        in_sight_ += shown;
        left -= shown;
        Q_EMIT readyRead();
    }
    QMetaObject::invokeMethod(this, &Threaded_serial_port::notify_data_rx, Qt::QueuedConnection);
}

void Threaded_serial_port::notify_bytes_tx(int bytes_sent)
{
    Q_EMIT bytesWritten(bytes_sent);
    const QMutexLocker locker(&written_mutex_);
    written_.wakeAll();
}

qint64 Threaded_serial_port::readData(char* data, qint64 max)
{
    if (received_size() == 0)
        put_received({});
    const int count = static_cast<int>(std::min<qint64>(received_size(), max));
    std::memcpy(data, received(), static_cast<std::size_t>(count));
    consume(count);
    return count;
}

qint64 Threaded_serial_port::writeData(const char* data, qint64 len)
{
    writer_.append(data, static_cast<int>(len));
    return len;
}

void Threaded_serial_port::put_received(const QByteArray& bytes)
{
    take_arrived();
    block_.append(bytes);
    in_sight_ = block_.size();
}

/// Whether there was anything to take.
bool Threaded_serial_port::take_arrived()
{
    drop_consumed();
    return reader_.take(block_);
}

void Threaded_serial_port::drop_consumed()
{
    if (consumed_ == block_.size())
        block_.resize(0); // keeps the capacity, unlike clear() and remove()
    else
        block_.remove(0, consumed_);
    in_sight_ -= consumed_;
    consumed_ = 0;
}
