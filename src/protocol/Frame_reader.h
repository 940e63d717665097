#pragma once

#include <QByteArray>
#include <QVector>

/// Finds the frames in a stream of bytes. After garbage or a wrong checksum the search goes on
/// at the next byte.
class Frame_reader {
public:
    /// A whole frame, or a run of bytes that belong to none.
    struct Found {
        QByteArray bytes;
        bool is_frame;
    };

    /// Takes more bytes; returns what is complete now, in order.
    QVector<Found> take(const QByteArray& bytes);

    /// Forgets the beginning of a frame that never came to its end.
    void clear() { pending_.clear(); }

private:
    QByteArray pending_;
};
