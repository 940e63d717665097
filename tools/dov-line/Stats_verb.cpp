#include "Condition.h"
#include "Line_statistics.h"
#include "Message_catalogue.h"
#include "Output.h"
#include "Recording_events.h"
#include "Verb.h"

#include <QJsonDocument>

#include <cmath>

namespace {

constexpr double percent = 100;
constexpr int bar_width = 40;

const QCommandLineOption json_option(QStringLiteral("json"), QStringLiteral("an object of JSON"));
const QCommandLineOption baud_option(QStringLiteral("baudrate"),
                                     QStringLiteral("the line's speed, for its load"),
                                     QStringLiteral("rate"), QStringLiteral("115200"));
const QCommandLineOption fail_option(QStringLiteral("fail-if"),
                                     QStringLiteral("end with status 1 if it holds: "
                                                    "\"unanswered>0\", \"answers.0x15.p99_ms>20\"; "
                                                    "again for more"),
                                     QStringLiteral("condition"));

/// A figure of the JSON object and what it is held against.
struct Limit {
    QString text;
    QStringList path;
    Relation relation;
    double number;
};

QString number(double value, int decimals = 1)
{
    return QString::number(value, 'f', decimals);
}

QString id_text(uint id)
{
    return QStringLiteral("0x%1").arg(id, 2, 16, QLatin1Char('0'));
}

void write_counts(Output& output, const Line_statistics& counted)
{
    const auto row = [&output](const char* name, const QString& value) {
        output.line(QStringLiteral("%1 %2").arg(QLatin1String(name), -24).arg(value, 10));
    };
    row("seconds", number(counted.seconds(), 3));
    row("frames of the host", QString::number(counted.host_frames()));
    row("frames of the controller", QString::number(counted.controller_frames()));
    row("wrong checksums", QString::number(counted.checksum_errors()));
    row("wrong addresses", QString::number(counted.address_errors()));
    row("skipped bytes", QString::number(counted.skipped_bytes()));
    row("unknown identifiers", QString::number(counted.unknown_identifiers()));
    row("unanswered requests", QString::number(counted.unanswered()));
    row("late answers", QString::number(counted.late_answers()));
    row("hang-ups", QString::number(counted.hang_ups()));
    row("load of the host", number(counted.load(Sender::host) * percent) + QStringLiteral(" %"));
    row("load of the controller",
        number(counted.load(Sender::controller) * percent) + QStringLiteral(" %"));
    if (counted.digest_interval_ms() >= 0)
        row("digest interval asked",
            QString::number(counted.digest_interval_ms()) + QStringLiteral(" ms"));
    if (counted.of(Message_id::digest).count > 1)
        row("digest interval kept",
            number(counted.of(Message_id::digest).period_ms()) + QStringLiteral(" ms"));
    if (counted.late_answers() > 0)
        output.line(QStringLiteral("Late answers were taken for reports that nobody asked for."));
}

void write_identifiers(Output& output, const Line_statistics& counted)
{
    output.line(QStringLiteral("\n  id   %1 %2 %3 %4 %5")
                    .arg(QStringLiteral("count"), 8)
                    .arg(QStringLiteral("per s"), 9)
                    .arg(QStringLiteral("period ms"), 11)
                    .arg(QStringLiteral("jitter ms"), 11)
                    .arg(QStringLiteral(" name")));
    for (uint id = 0; id < 256; ++id) {
        const auto& kind = counted.of(static_cast<uchar>(id));
        if (kind.count == 0)
            continue;
        const Message_kind* known = find_message(static_cast<uchar>(id));
        output.line(QStringLiteral("  %1 %2 %3 %4 %5  %6")
                        .arg(id_text(id))
                        .arg(kind.count, 8)
                        .arg(number(kind.rate_per_s(), 2), 9)
                        .arg(number(kind.period_ms()), 11)
                        .arg(number(kind.jitter_ms(), 2), 11)
                        .arg(known == nullptr ? QStringLiteral("unknown")
                                              : QString::fromLatin1(known->label)));
    }
}

void write_answers(Output& output, const Line_statistics& counted)
{
    output.line(QStringLiteral("\n  request %1 %2 %3 %4 %5 %6")
                    .arg(QStringLiteral("p50 ms"), 9)
                    .arg(QStringLiteral("p90 ms"), 9)
                    .arg(QStringLiteral("p99 ms"), 9)
                    .arg(QStringLiteral("most ms"), 9)
                    .arg(QStringLiteral("unanswered"), 11)
                    .arg(QStringLiteral("late"), 6));
    for (uint id = 0; id < 256; ++id) {
        const auto& kind = counted.of(static_cast<uchar>(id));
        if (kind.response.count() + kind.late_response.count() + kind.unanswered == 0)
            continue;
        output.line(QStringLiteral("  %1    %2 %3 %4 %5 %6 %7")
                        .arg(id_text(id))
                        .arg(number(kind.response.quantile_ms(50), 3), 9)
                        .arg(number(kind.response.quantile_ms(90), 3), 9)
                        .arg(number(kind.response.quantile_ms(99), 3), 9)
                        .arg(number(kind.response.most_ms(), 3), 9)
                        .arg(kind.unanswered, 11)
                        .arg(kind.late_response.count(), 6));
    }
}

/// Response times in steps that double.
void write_histogram(Output& output, const Time_distribution& times)
{
    if (times.count() == 0)
        return;
    output.line(QStringLiteral("\n  answers within"));
    double from_ms = 0;
    for (double to_ms = 0.125; from_ms <= times.most_ms(); to_ms *= 2) {
        const std::size_t count = times.count_between(from_ms, to_ms);
        const double share = static_cast<double>(count) / static_cast<double>(times.count());
        output.line(
            QStringLiteral("  %1 ms %2 %3")
                .arg(number(to_ms, 3), 9)
                .arg(count, 8)
                .arg(QString(static_cast<int>(std::ceil(share * bar_width)), QLatin1Char('#'))));
        from_ms = to_ms;
    }
}

/// Reads "NAME.NAME>NUMBER". Returns an error's text, or nothing.
QString read_limit(const QString& text, Limit& limit)
{
    const auto condition = split_condition(text);
    if (!condition)
        return QStringLiteral("\"%1\" is not FIGURE>NUMBER").arg(text);
    bool good = false;
    limit = {text, condition->name.split(QLatin1Char('.')), condition->relation,
             condition->value.toDouble(&good)};
    return good ? QString() : QStringLiteral("\"%1\" ends with no number").arg(text);
}

/// The figure at a path; undefined where there is none.
QJsonValue figure(const QJsonObject& object, const QStringList& path)
{
    QJsonValue value = object;
    for (const QString& name : path)
        value = value.toObject()[name];
    return value;
}

/// Reads all of them. Returns an error's text, or nothing.
QString read_limits(const QStringList& texts, QVector<Limit>& limits)
{
    // What every recording has: a name that is not there is a mistake. Those below depend on what
    // was said on the line.
    const QJsonObject every = Line_statistics(1).to_json();
    for (const QString& text : texts) {
        Limit limit;
        const QString error = read_limit(text, limit);
        if (!error.isEmpty())
            return error;
        if (!every.contains(limit.path.first()))
            return QStringLiteral("there is no figure \"%1\"").arg(limit.path.first());
        limits.append(limit);
    }
    return {};
}

/// Names the limits that are passed; exit_found when there are some.
int judge(const QJsonObject& json, const QVector<Limit>& limits)
{
    int status = exit_good;
    for (const Limit& limit : limits) {
        const QJsonValue value = figure(json, limit.path);
        if (!value.isDouble() || !holds(value.toDouble(), limit.relation, limit.number))
            continue;
        complain(QStringLiteral("%1: it is %2").arg(limit.text).arg(value.toDouble()));
        status = exit_found;
    }
    return status;
}

} // namespace

int run_stats(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Counts what is in a recording of the line."));
    parser.addPositionalArgument(QStringLiteral("file"),
                                 QStringLiteral("recording or pcapng file; - is standard input"));
    parser.addOptions({json_option, baud_option, fail_option});
    int status = exit_good;
    if (!parse(parser, arguments, status))
        return status;
    if (parser.positionalArguments().size() != 1)
        return refuse(arguments[0], QStringLiteral("one recording is to be named"));
    bool good = false;
    const uint baud = parser.value(baud_option).toUInt(&good);
    if (!good || baud == 0)
        return refuse(
            arguments[0],
            QStringLiteral("--baudrate: \"%1\" is no speed").arg(parser.value(baud_option)));
    QVector<Limit> limits;
    const QString error = read_limits(parser.values(fail_option), limits);
    if (!error.isEmpty())
        return refuse(arguments[0], QStringLiteral("--fail-if: ") + error);

    Recording_events events;
    if (!events.open(parser.positionalArguments().first()))
        return exit_input;
    Line_statistics counted(baud);
    Line_event event;
    while (events.next(event))
        counted.take(event);
    if (!events.is_whole())
        status = exit_input;

    Output output;
    const QJsonObject json = counted.to_json();
    if (parser.isSet(json_option)) {
        output.line(QJsonDocument(json).toJson().trimmed());
    } else {
        write_counts(output, counted);
        write_identifiers(output, counted);
        write_answers(output, counted);
        write_histogram(output, counted.response());
    }
    status = std::max(status, judge(json, limits));
    return output.flush() ? status : exit_output;
}
