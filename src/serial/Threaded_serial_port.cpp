#include "Threaded_serial_port.h"

#include "Console.h"

#include <QMutexLocker>
#include <QScopedValueRollback>

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
    // Only the reader's own news has been heard then: a call of notify_data_rx() swallows none.
    connect(&reader_, &Threaded_serial_port_reader::data_rx, this, [this] {
        reader_.heard();
        notify_data_rx();
    });
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
    QIODevice::open(QIODevice::ReadWrite);
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
    const QScopedValueRollback<qint64> turn_left(turn_left_, turn);
    Q_EMIT readyRead();
    if (turn_is_over())
        QMetaObject::invokeMethod(this, &Threaded_serial_port::notify_data_rx,
                                  Qt::QueuedConnection);
}

void Threaded_serial_port::notify_bytes_tx(int bytes_sent)
{
    Q_EMIT bytesWritten(bytes_sent);
    const QMutexLocker locker(&written_mutex_);
    written_.wakeAll();
}

qint64 Threaded_serial_port::bytesAvailable() const
{
    return QIODevice::bytesAvailable() + waiting() + reader_.size();
}

bool Threaded_serial_port::canReadLine() const
{
    return QIODevice::canReadLine() || block_.indexOf('\n', consumed_) >= 0 ||
           reader_.contains('\n');
}

qint64 Threaded_serial_port::readData(char* data, qint64 max)
{
    qint64 count = 0;
    while (count < max && (waiting() > 0 || take_arrived())) {
        const int part = static_cast<int>(std::min<qint64>(waiting(), max - count));
        std::memcpy(data + count, block_.constData() + consumed_, static_cast<std::size_t>(part));
        consumed_ += part;
        count += part;
    }
    return count;
}

qint64 Threaded_serial_port::writeData(const char* data, qint64 len)
{
    writer_.append(data, static_cast<int>(len));
    return len;
}

void Threaded_serial_port::put_received(const QByteArray& bytes)
{
    take_arrived(); // nobody else would, and a full reader waits
    reader_.keep(bytes.constData(), static_cast<int>(bytes.size()));
}

Threaded_serial_port::View Threaded_serial_port::look_above(int wanted)
{
    peeked_ = peek(wanted);
    return {reinterpret_cast<const uchar*>(peeked_.constData()), static_cast<int>(peeked_.size())};
}

/// Whether there was anything to take.
bool Threaded_serial_port::take_arrived()
{
    if (consumed_ == block_.size())
        block_.resize(0);
    else
        block_.remove(0, consumed_);
    consumed_ = 0;
    return reader_.take(block_);
}
