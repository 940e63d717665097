#pragma once

#include "Line_record.h"

#include <QByteArray>

/// A record of bytes that outlive it.
inline Line_record record_at(qint64 time_us, Sender sender, const QByteArray& bytes)
{
    Line_record record;
    record.time_us = time_us;
    record.sender = sender;
    record.data = reinterpret_cast<const uchar*>(bytes.constData());
    record.size = static_cast<int>(bytes.size());
    return record;
}

inline const QByteArray version_request = QByteArray::fromHex("18ef78591100000000000000e9");
inline const QByteArray version_answer = QByteArray::fromHex("18ef59781214000000000000fe");
