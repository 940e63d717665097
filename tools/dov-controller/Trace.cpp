#include "Trace.h"

#include "Meaning.h"
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

QString Trace_entry::to_line() const
{
    return QStringLiteral("%1 %2 %3  # %4")
        .arg(static_cast<double>(time_us) / us_per_second, 0, 'f', 6)
        .arg(from_controller ? QStringLiteral("controller") : QStringLiteral("host"), -10)
        .arg(QString::fromLatin1(bytes.toHex()), meaning_of_bytes(bytes, from_controller));
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

QString Trace_writer::open(const QString& path)
{
    file_.setFileName(path);
    if (!file_.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return path + QStringLiteral(": ") + file_.errorString();
    file_.write("# seconds, direction, bytes, and what they mean\n");
    file_.flush();
    return {};
}

void Trace_writer::write(const Trace_entry& entry)
{
    if (!file_.isOpen())
        return;
    file_.write(entry.to_line().toUtf8().append('\n'));
    file_.flush();
}
