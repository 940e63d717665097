#pragma once

#include <QtGlobal>

/// Who sent bytes on the line.
enum class Sender : uchar { host, controller };

/// What a recording holds of one moment: bytes that went over the line together, or the line's own
/// coming and going.
struct Line_record {
    enum class Kind : uchar {
        bytes,
        hang_up,
        connection,
        gap, ///< records are missing here: whoever recorded could not follow
    };

    qint64 time_us = 0; ///< since the recording began
    Sender sender = Sender::host;
    Kind kind = Kind::bytes;
    const uchar* data = nullptr; ///< of bytes; valid until the next record is read
    int size = 0;
    quint64 missing = 0; ///< of a gap: how many records
};
