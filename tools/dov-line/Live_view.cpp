#include "Live_view.h"

namespace {

QString number(const QJsonValue& value, int decimals = 0)
{
    return QString::number(value.toDouble(), 'f', decimals);
}

/// One cell of a table: what its column is called, where its value is, and how it is written.
struct Column {
    const char* title;
    const char* name;
    int width;
    int decimals;
};

constexpr Column message_columns[] = {
    {"count", "count", 10, 0},
    {"per s", "rate_per_s", 9, 2},
    {"period ms", "period_ms", 11, 1},
    {"jitter ms", "jitter_ms", 11, 2},
};

constexpr Column answer_columns[] = {
    {"p50 ms", "p50_ms", 10, 3},   {"p90 ms", "p90_ms", 9, 3},          {"p99 ms", "p99_ms", 11, 3},
    {"most ms", "most_ms", 11, 3}, {"unanswered", "unanswered", 11, 0}, {"late", "late", 6, 0},
};

template <std::size_t size>
void append_table(QStringList& lines, const char* title, const Column (&columns)[size],
                  const QJsonObject& rows, bool has_names)
{
    QString head = QStringLiteral("  %1").arg(QLatin1String(title), -8);
    for (const Column& column : columns)
        head += QString(QLatin1String(column.title)).rightJustified(column.width);
    lines.append(has_names ? head + QStringLiteral("  name") : head);
    for (auto row = rows.begin(); row != rows.end(); ++row) {
        const QJsonObject figures = row.value().toObject();
        QString line = QStringLiteral("  %1").arg(row.key(), -8);
        for (const Column& column : columns)
            line += number(figures[QLatin1String(column.name)], column.decimals)
                        .rightJustified(column.width);
        if (has_names)
            line += QStringLiteral("  ") +
                    figures[QStringLiteral("name")].toString(QStringLiteral("unknown"));
        lines.append(line);
    }
}

/// "TITLE NUMBER" for each figure that there is.
QString counts(const QJsonObject& object,
               std::initializer_list<std::pair<const char*, const char*>> figures)
{
    QStringList texts;
    for (const auto& [title, name] : figures)
        texts.append(QLatin1String(title) + QLatin1Char(' ') + number(object[QLatin1String(name)]));
    return texts.join(QStringLiteral("   "));
}

QString tap_line(const QJsonObject& tap)
{
    const auto presence = [&tap](const char* name) {
        return tap[QLatin1String(name)].toBool() ? QStringLiteral("there")
                                                 : QStringLiteral("not there");
    };
    return QStringLiteral("%1 as %2 at %3 baud   device %4   host %5")
        .arg(tap[QStringLiteral("device")].toString(), tap[QStringLiteral("link")].toString(),
             number(tap[QStringLiteral("baudrate")]), presence("has_device"), presence("has_host"));
}

} // namespace

QStringList live_lines(const QJsonObject& status)
{
    constexpr double percent = 100;
    const QJsonObject tap = status[QStringLiteral("tap")].toObject();
    const QJsonObject digest = status[QStringLiteral("digest")].toObject();
    QStringList lines = {tap_line(tap)};
    lines.append(
        QStringLiteral("%1 s   load: host %2 %   controller %3 %")
            .arg(number(status[QStringLiteral("seconds")], 1),
                 number(status[QStringLiteral("host_load")].toDouble() * percent, 1),
                 number(status[QStringLiteral("controller_load")].toDouble() * percent, 1)));
    lines.append(QStringLiteral("frames: ") +
                 counts(status, {{"host", "host_frames"}, {"controller", "controller_frames"}}));
    lines.append(QStringLiteral("wrong: ") + counts(status, {{"checksums", "checksum_errors"},
                                                             {"addresses", "address_errors"},
                                                             {"identifiers", "unknown_identifiers"},
                                                             {"skipped bytes", "skipped_bytes"}}));
    lines.append(QStringLiteral("requests: ") +
                 counts(status, {{"unanswered", "unanswered"}, {"answered late", "late_answers"}}));
    lines.append(QStringLiteral("line: ") + counts(status, {{"hang-ups", "hang_ups"}}) +
                 QStringLiteral("   ") + counts(tap, {{"bytes without a host", "unheard_bytes"}}));
    lines.append(QStringLiteral("records: ") + counts(tap, {{"not seen", "unseen_records"},
                                                            {"not written", "unwritten_records"},
                                                            {"incidents", "incidents"},
                                                            {"kept files", "kept_files"}}));
    if (!digest.isEmpty())
        lines.append(QStringLiteral("digests: asked every %1 ms, come every %2 ms")
                         .arg(number(digest[QStringLiteral("asked_ms")]),
                              number(digest[QStringLiteral("kept_ms")], 1)));
    lines.append(QString());
    append_table(lines, "message", message_columns,
                 status[QStringLiteral("identifiers")].toObject(), true);
    lines.append(QString());
    append_table(lines, "request", answer_columns, status[QStringLiteral("answers")].toObject(),
                 false);
    return lines;
}
