#pragma once

#include <QByteArray>

#include <utility>

inline QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

/// A frame from the controller, summed up by hand.
inline QByteArray controller_frame(const QByteArray& payload)
{
    QByteArray bytes = hex("18ef5978") + payload;
    uint sum = 0;
    for (const char byte : std::as_const(bytes))
        sum += static_cast<uchar>(byte);
    return bytes + static_cast<char>(sum & 0xFF);
}
