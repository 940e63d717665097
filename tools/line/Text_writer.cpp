#include "Text_writer.h"

#include "Meaning.h"

#include <QDateTime>

namespace {

constexpr qint64 us_per_ms = 1000;
constexpr qint64 us_per_second = 1000000;

QByteArray seconds_text(qint64 us)
{
    return QByteArray::number(us / us_per_second) + '.' +
           QByteArray::number(us % us_per_second).rightJustified(6, '0');
}

QByteArray sender_text(Sender sender)
{
    return sender == Sender::controller ? "controller" : "host";
}

QByteArray directive(const Line_record& record, const char* event)
{
    return "#! " + seconds_text(record.time_us) + ' ' + event + ' ' + sender_text(record.sender);
}

} // namespace

QByteArray Text_writer::header(qint64 wall_clock_us)
{
    return "# seconds, direction, bytes, and what they mean\n" + beginning(wall_clock_us);
}

QByteArray Text_writer::beginning(qint64 wall_clock_us)
{
    const QDateTime time =
        QDateTime::fromMSecsSinceEpoch((wall_clock_us + us_per_ms / 2) / us_per_ms).toUTC();
    return "#! began " + time.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzzZ")).toLatin1() +
           '\n';
}

QByteArray Text_writer::line(const Line_record& record)
{
    switch (record.kind) {
    case Line_record::Kind::hang_up:
        return directive(record, "hang-up") + '\n';
    case Line_record::Kind::connection:
        return directive(record, "connection") + '\n';
    case Line_record::Kind::gap:
        return directive(record, "gap") + ' ' + QByteArray::number(record.missing) + '\n';
    case Line_record::Kind::bytes:
        break;
    }
    const QByteArray bytes(reinterpret_cast<const char*>(record.data), record.size);
    return seconds_text(record.time_us) + ' ' + sender_text(record.sender).leftJustified(10) + ' ' +
           bytes.toHex() + "  # " +
           meaning_of_bytes(bytes, record.sender == Sender::controller).toUtf8() + '\n';
}
