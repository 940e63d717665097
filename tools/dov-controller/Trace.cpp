#include "Trace.h"

#include "Text_writer.h"
#include "Words.h"

#include <QList>

#include <cmath>

namespace {

constexpr double us_per_second = 1e6;
constexpr int most_bytes = 65536;

Trace_entry parse_entry(Words& words)
{
    Trace_entry entry;
    constexpr double longest_s = 1e8;
    entry.time_us = std::llround(words.number("a time in seconds", 0, longest_s) * us_per_second);
    entry.from_controller = words.one_of({"controller", "host"}) == 0;
    entry.bytes = words.hex_bytes(1, most_bytes);
    return entry;
}

} // namespace

Line_record Trace_entry::record() const
{
    Line_record record;
    record.time_us = time_us;
    record.sender = from_controller ? Sender::controller : Sender::host;
    record.data = reinterpret_cast<const uchar*>(bytes.constData());
    record.size = static_cast<int>(bytes.size());
    return record;
}

QString Trace_entry::to_line() const
{
    return QString::fromUtf8(Text_writer::line(record())).trimmed();
}

Trace Trace::parse(const QByteArray& text)
{
    Trace trace;
    const QList<QByteArray> lines = text.split('\n');
    qint64 last_us = 0;
    for (int i = 0; i < lines.size(); ++i) {
        Words words(lines[i]);
        if (words.at_end())
            continue;
        const Trace_entry entry = parse_entry(words);
        if (words.has_failed()) {
            trace.errors.append({i + 1, words.error_column(), words.error()});
        } else if (entry.time_us < last_us) {
            trace.errors.append({i + 1, 1, QStringLiteral("the time is before the last one")});
        } else {
            last_us = entry.time_us;
            trace.entries.append(entry);
        }
    }
    return trace;
}
