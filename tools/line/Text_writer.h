#pragma once

#include "Line_record.h"

#include <QByteArray>

/// The lines of a recording of text, as Text_recording reads them, each with its end.
namespace Text_writer {

/// What a file begins with: what its columns are, and when it began.
QByteArray header(qint64 wall_clock_us);

/// The wall clock at time 0, in microseconds since 1970 (UTC); again where it has been set.
QByteArray beginning(qint64 wall_clock_us);

/// One record: seconds, who sent, bytes in hexadecimal and, after a #, what they mean.
QByteArray line(const Line_record& record);

} // namespace Text_writer
