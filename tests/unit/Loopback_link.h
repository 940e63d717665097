#pragma once

#include "Power_controller_interface.h"

#include <QVector>

/// A link without a line: what would be written is kept, what would arrive is given.
class Loopback_link : public Power_controller_interface {
public:
    /// Lets bytes arrive, as one read would bring them.
    void arrive(const QByteArray& bytes)
    {
        put_received(bytes);
        Q_EMIT readyRead();
    }

    QVector<QByteArray> written;

protected:
    qint64 writeData(const char* data, qint64 len) override
    {
        written.append(QByteArray(data, static_cast<int>(len)));
        return len;
    }
};
