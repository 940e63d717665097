#include "Threaded_serial_port_writer.h"

#include <QMutexLocker>

#include <unistd.h>

void Threaded_serial_port_writer::append(const char* bytes, int count)
{
    {
        const QMutexLocker locker(&mutex_);
        buffer_.append(bytes, count);
    }
    news_.release();
}

void Threaded_serial_port_writer::run()
{
    for (;;) {
        const QByteArray piece = take_piece();
        if (piece.isEmpty()) {
            Q_EMIT bytes_tx(written_);
            written_ = 0;
            news_.acquire();
            continue;
        }
        written_ += static_cast<int>(piece.size());
        (void)!::write(descriptor_, piece.constData(), static_cast<std::size_t>(piece.size()));
    }
}

QByteArray Threaded_serial_port_writer::take_piece()
{
    const QMutexLocker locker(&mutex_);
    QByteArray piece = buffer_.left(piece_size);
    buffer_.remove(0, piece.size());
    return piece;
}
