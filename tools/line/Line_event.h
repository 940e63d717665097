#pragma once

#include "Frame.h"
#include "Frame_scanner.h"
#include "Line_record.h"

#include <QByteArray>

/// One thing of a recording, with what it has to do with others.
struct Line_event {
    enum class Kind : uchar { frame, broken, skipped, hang_up, connection, gap };

    /// What became of a request.
    enum class Fate : uchar { none, answered, unanswered };

    Kind kind = Kind::skipped;
    Sender sender = Sender::host;
    quint64 number = 0;  ///< in the recording, from 1
    qint64 begin_us = 0; ///< when its first byte was seen
    qint64 end_us = 0;   ///< when its last byte was seen
    QByteArray bytes;
    quint64 missing = 0; ///< of a gap: how many records are missing in the recording

    Fate fate = Fate::none;  ///< of the host's frames
    quint64 partner = 0;     ///< the number of the request's answer, or of the answer's request
    qint64 response_us = -1; ///< from the request's last byte to the answer's
    bool is_late = false;    ///< an answer that came when its request's time was over

    bool is_frame() const { return kind == Kind::frame; }
    bool is_request() const { return is_frame() && sender == Sender::host; }

    /// The message of a frame, whole or broken.
    const uchar* message() const
    {
        return reinterpret_cast<const uchar*>(bytes.constData()) + Frame::payload_at;
    }
    uchar id() const { return *message(); }

    /// Whether a frame comes from its sender's address and goes to the other side's.
    bool has_right_addresses() const;
};
