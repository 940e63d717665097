#include "Threaded_serial_port_reader.h"

#include <QMutexLocker>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int read_size = 255;

/// In a flood, what is kept before anybody is woken for it, in bytes.
constexpr int batch = 16 * read_size;

} // namespace

bool Threaded_serial_port_reader::take(QByteArray& bytes)
{
    const QMutexLocker locker(&mutex_);
    announced_ = !buffer_.isEmpty();
    if (bytes.isEmpty()) {
        bytes.swap(buffer_);
    } else {
        bytes.append(buffer_);
        buffer_.resize(0);
    }
    taken_.wakeAll();
    return announced_;
}

void Threaded_serial_port_reader::run()
{
    char bytes[read_size];
    for (;;) {
        const ssize_t count = ::read(descriptor_, bytes, sizeof bytes);
        if (count >= 1 && keep(bytes, static_cast<int>(count)))
            Q_EMIT data_rx();
    }
}

/// Returns whether the bytes have to be announced.
bool Threaded_serial_port_reader::keep(const char* bytes, int count)
{
    const QMutexLocker locker(&mutex_);
    while (buffer_.size() >= backlog)
        taken_.wait(&mutex_);
    buffer_.append(bytes, count);
    if (announced_ || (count == read_size && buffer_.size() < batch && has_more()))
        return false;
    announced_ = true;
    return true;
}

bool Threaded_serial_port_reader::has_more() const
{
    int waiting;
    return ioctl(descriptor_, FIONREAD, &waiting) == 0 && waiting > 0;
}
