#include "Threaded_serial_port_reader.h"

#include <QMutexLocker>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int read_size = 255;

/// In a flood, what is kept before anybody is woken for it, in bytes.
constexpr int batch = 16 * read_size;

bool has_more(int descriptor)
{
    int waiting;
    return ioctl(descriptor, FIONREAD, &waiting) == 0 && waiting > 0;
}

} // namespace

bool Threaded_serial_port_reader::take(QByteArray& bytes)
{
    const QMutexLocker locker(&mutex_);
    if (buffer_.isEmpty())
        return false;
    if (bytes.isEmpty()) {
        bytes.swap(buffer_);
    } else {
        bytes.append(buffer_);
        buffer_.resize(0);
    }
    taken_.wakeAll();
    return true;
}

int Threaded_serial_port_reader::size() const
{
    const QMutexLocker locker(&mutex_);
    return static_cast<int>(buffer_.size());
}

bool Threaded_serial_port_reader::contains(char byte) const
{
    const QMutexLocker locker(&mutex_);
    return buffer_.contains(byte);
}

void Threaded_serial_port_reader::heard()
{
    const QMutexLocker locker(&mutex_);
    untold_ = 0;
    on_the_way_ = false;
}

void Threaded_serial_port_reader::keep(const char* bytes, int count)
{
    const QMutexLocker locker(&mutex_);
    while (buffer_.size() >= backlog)
        taken_.wait(&mutex_);
    buffer_.append(bytes, count);
    if (!on_the_way_)
        untold_ += count;
}

void Threaded_serial_port_reader::run()
{
    char bytes[read_size];
    for (;;) {
        const ssize_t count = ::read(descriptor_, bytes, sizeof bytes);
        if (count >= 1)
            keep(bytes, static_cast<int>(count));
        // Told also when a read fails: what came before it may be the last that comes.
        if (is_to_be_told(count == read_size && has_more(descriptor_)))
            Q_EMIT data_rx();
    }
}

bool Threaded_serial_port_reader::is_to_be_told(bool more_comes)
{
    const QMutexLocker locker(&mutex_);
    // A full buffer has to be taken before more can come.
    if (untold_ == 0 || (more_comes && untold_ < batch && buffer_.size() < backlog))
        return false;
    untold_ = 0;
    on_the_way_ = true;
    return true;
}
