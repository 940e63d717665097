#pragma once

#include "Text_stream.h"

#include <QByteArray>
#include <QList>

#include <functional>

#include <fcntl.h>
#include <unistd.h>

/// What leaves a stream, as it leaves: one element a write.
inline QList<QByteArray> pieces(const std::function<void(Text_stream&)>& print)
{
    int ends[2];
    if (pipe2(ends, O_DIRECT) != 0) // each write stays a packet of its own
        qFatal("no pipe");
    Text_stream stream(ends[1]);
    print(stream);
    ::close(ends[1]);
    QList<QByteArray> found;
    char bytes[8192];
    for (;;) {
        const ssize_t count = read(ends[0], bytes, sizeof bytes);
        if (count <= 0)
            break;
        found.append(QByteArray(bytes, static_cast<int>(count)));
    }
    ::close(ends[0]);
    return found;
}
