#include "Threaded_serial_port_reader.h"

#include <QMutexLocker>

#include <unistd.h>

void Threaded_serial_port_reader::take(QByteArray& bytes)
{
    const QMutexLocker locker(&mutex_);
    if (bytes.isEmpty()) {
        bytes.swap(buffer_);
    } else {
        bytes.append(buffer_);
        buffer_.resize(0);
    }
    announced_ = false;
    taken_.wakeAll();
}

void Threaded_serial_port_reader::run()
{
    char bytes[255];
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
    const bool announce = !announced_;
    announced_ = true;
    return announce;
}
