#include "Event_format.h"

#include "Explanation.h"

#include <QDateTime>
#include <QJsonArray>
#include <QStringList>

#include <algorithm>
#include <utility>

namespace {

constexpr double us_per_s = 1e6;
constexpr double us_per_ms = 1e3;
constexpr qint64 whole_us_per_ms = 1000;

QString sender_text(Sender sender)
{
    return sender == Sender::controller ? QStringLiteral("controller") : QStringLiteral("host");
}

QString kind_text(Line_event::Kind kind)
{
    switch (kind) {
    case Line_event::Kind::frame:
        return QStringLiteral("frame");
    case Line_event::Kind::broken:
        return QStringLiteral("broken");
    case Line_event::Kind::skipped:
        return QStringLiteral("skipped");
    case Line_event::Kind::hang_up:
        return QStringLiteral("hang-up");
    case Line_event::Kind::gap:
        return QStringLiteral("gap");
    case Line_event::Kind::connection:
        break;
    }
    return QStringLiteral("connection");
}

QString hex_text(uint id)
{
    return QStringLiteral("0x%1").arg(id, 2, 16, QLatin1Char('0'));
}

QString seconds_text(qint64 us)
{
    return QString::number(static_cast<double>(us) / us_per_s, 'f', 6);
}

QString wall_text(qint64 clock_us)
{
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(clock_us / whole_us_per_ms).toUTC();
    return time.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz")) +
           QStringLiteral("%1Z").arg(clock_us % whole_us_per_ms, 3, 10, QLatin1Char('0'));
}

QString partner_text(const Line_event& event)
{
    const QString ms = QString::number(static_cast<double>(event.response_us) / us_per_ms, 'f', 3);
    if (event.fate == Line_event::Fate::unanswered)
        return QStringLiteral("  (no answer)");
    if (event.partner == 0)
        return {};
    if (event.is_late)
        return QStringLiteral("  (late answer to #%1, after %2 ms)").arg(event.partner).arg(ms);
    const QString arrow = event.sender == Sender::host
                              ? QStringLiteral("answered by #%1 after %2 ms")
                              : QStringLiteral("answers #%1 after %2 ms");
    return QStringLiteral("  (") + arrow.arg(event.partner).arg(ms) + QLatin1Char(')');
}

/// One cell of CSV: in quotes where it has to be.
QString cell(const QString& text)
{
    const bool needs_quotes = text.contains(QLatin1Char(',')) || text.contains(QLatin1Char('"'));
    QString doubled = text;
    doubled.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return needs_quotes ? QLatin1Char('"') + doubled + QLatin1Char('"') : text;
}

} // namespace

bool parse_time_style(const QString& text, Time_style& style)
{
    constexpr std::pair<const char*, Time_style> names[] = {{"relative", Time_style::relative},
                                                            {"absolute", Time_style::absolute},
                                                            {"delta", Time_style::delta}};
    for (const auto& [name, named] : names) {
        if (text == QLatin1String(name)) {
            style = named;
            return true;
        }
    }
    return false;
}

void Event_format::see(const Line_event& event)
{
    if (!event.is_frame())
        return;
    Last_messages& last = last_[event.id()];
    last.before = last.newest;
    std::copy_n(event.message(), message_size, last.newest.begin());
    ++last.count;
}

bool Event_format::has_changed(const uchar* message, int first, int size) const
{
    const Last_messages& last = last_[*message];
    return last.count > 1 &&
           !std::equal(message + first, message + first + size, last.before.begin() + first);
}

QString Event_format::line(const Line_event& event, Time_style style)
{
    QString text = QStringLiteral("%1 #%2 %3 ")
                       .arg(time_text(event, style))
                       .arg(event.number, -6)
                       .arg(sender_text(event.sender), -10);
    if (event.is_frame()) {
        text += fields_text(event);
        if (!event.has_right_addresses())
            text += QStringLiteral("  (wrong addresses)");
        return text + partner_text(event);
    }
    text += kind_text(event.kind);
    if (event.missing > 0)
        text += QStringLiteral(": %1 records are missing").arg(event.missing);
    if (!event.bytes.isEmpty())
        text += QLatin1Char(' ') + QString::fromLatin1(event.bytes.toHex(' '));
    return text;
}

QString Event_format::fields_text(const Line_event& event) const
{
    const uchar* message = event.message();
    const Message_kind* kind = find_message(*message);
    if (kind == nullptr)
        return QStringLiteral("unknown ") +
               QString::fromLatin1(
                   QByteArray(reinterpret_cast<const char*>(message), message_size).toHex(' '));
    QStringList texts;
    const auto fields = explain(message, message_size);
    for (const Explained_field& field : fields) {
        const char* mark = has_changed(message, field.field->first, field.field->size) ? "* " : " ";
        texts.append(label_of(*field.field) + QLatin1String(mark) + field.text);
    }
    const QString name = hex_text(*message) + QLatin1Char(' ') + QLatin1String(kind->label);
    return texts.isEmpty() ? name : name + QStringLiteral(": ") + texts.join(QStringLiteral(", "));
}

QString Event_format::time_text(const Line_event& event, Time_style style)
{
    const qint64 before = std::exchange(last_written_us_, event.begin_us);
    switch (style) {
    case Time_style::absolute:
        if (wall_clock_us_ >= 0)
            return wall_text(wall_clock_us_ + event.begin_us);
        break;
    case Time_style::delta:
        return QStringLiteral("%1%2")
            .arg(QLatin1Char('+'))
            .arg(seconds_text(before < 0 ? 0 : event.begin_us - before));
    case Time_style::relative:
        break;
    }
    return seconds_text(event.begin_us).rightJustified(12);
}

QJsonObject Event_format::json(const Line_event& event) const
{
    QJsonObject object = {
        {QStringLiteral("number"), static_cast<qint64>(event.number)},
        {QStringLiteral("time"), static_cast<double>(event.begin_us) / us_per_s},
        {QStringLiteral("from"), sender_text(event.sender)},
        {QStringLiteral("kind"), kind_text(event.kind)},
    };
    if (wall_clock_us_ >= 0)
        object[QStringLiteral("wall_clock")] = wall_text(wall_clock_us_ + event.begin_us);
    if (!event.bytes.isEmpty())
        object[QStringLiteral("bytes")] = QString::fromLatin1(event.bytes.toHex());
    if (event.missing > 0)
        object[QStringLiteral("missing")] = static_cast<qint64>(event.missing);
    if (!event.is_frame())
        return object;

    const uchar* message = event.message();
    const Message_kind* kind = find_message(*message);
    object[QStringLiteral("id")] = hex_text(*message);
    object[QStringLiteral("name")] = kind == nullptr ? QJsonValue() : QLatin1String(kind->name);
    object[QStringLiteral("right_addresses")] = event.has_right_addresses();
    QJsonObject fields;
    QJsonArray changed;
    const auto explained = explain(message, message_size);
    for (const Explained_field& field : explained) {
        const QString name = QLatin1String(field.field->name);
        fields[name] = QJsonObject{{QStringLiteral("number"), field.number},
                                   {QStringLiteral("value"), field.value},
                                   {QStringLiteral("unit"), QLatin1String(field.field->unit.name)},
                                   {QStringLiteral("text"), field.text}};
        if (has_changed(message, field.field->first, field.field->size))
            changed.append(name);
    }
    object[QStringLiteral("fields")] = fields;
    object[QStringLiteral("changed")] = changed;
    if (event.is_request() && event.fate != Line_event::Fate::none)
        object[QStringLiteral("answered")] = event.fate == Line_event::Fate::answered;
    if (event.partner != 0) {
        object[event.is_request() ? QStringLiteral("answer") : QStringLiteral("request")] =
            static_cast<qint64>(event.partner);
        object[QStringLiteral("response_ms")] = static_cast<double>(event.response_us) / us_per_ms;
        object[QStringLiteral("late")] = event.is_late;
    }
    return object;
}

QString Event_format::csv_header()
{
    return QStringLiteral("number,time,from,kind,id,name,fields,partner,response_ms,bytes");
}

QString Event_format::csv(const Line_event& event) const
{
    QStringList fields;
    QString id;
    QString name;
    if (event.is_frame()) {
        id = hex_text(event.id());
        const Message_kind* kind = find_message(event.id());
        name = kind == nullptr ? QString() : QLatin1String(kind->name);
        const auto explained = explain(event.message(), message_size);
        for (const Explained_field& field : explained)
            fields.append(QLatin1String(field.field->name) + QLatin1Char('=') + field.text);
    }
    const bool has_partner = event.partner != 0;
    const QStringList cells = {
        QString::number(event.number),
        seconds_text(event.begin_us),
        sender_text(event.sender),
        kind_text(event.kind),
        id,
        name,
        cell(fields.join(QLatin1Char(';'))),
        has_partner ? QString::number(event.partner) : QString(),
        has_partner ? QString::number(static_cast<double>(event.response_us) / us_per_ms, 'f', 3)
                    : QString(),
        QString::fromLatin1(event.bytes.toHex()),
    };
    return cells.join(QLatin1Char(','));
}
