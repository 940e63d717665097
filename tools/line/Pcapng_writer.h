#pragma once

#include "Line_record.h"

#include <QByteArray>

/// The blocks of a pcapng file of the line, in little-endian order.
namespace Pcapng_writer {

/// What a file begins with: its section and its one interface, with times in microseconds.
QByteArray header();

/// One packet. `clock_us`: microseconds since 1970, UTC.
QByteArray packet(const Line_record& record, qint64 clock_us);

} // namespace Pcapng_writer
