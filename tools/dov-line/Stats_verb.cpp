#include "Stats_verb.h"

#include "Line_statistics.h"
#include "Live_screen.h"
#include "Message_catalogue.h"
#include "Output.h"
#include "Posix_signals.h"
#include "Recording_events.h"

#include <QCoreApplication>
#include <QJsonDocument>

#include <cmath>

namespace {

constexpr double percent = 100;
constexpr int bar_width = 40;

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
    if (counted.missing_records() > 0)
        row("missing records", QString::number(counted.missing_records()));
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

/// Until somebody asks for the end.
int show_live(const QString& path)
{
    const Posix_signals signals;
    Live_screen screen(path);
    QObject::connect(&signals, &Posix_signals::end_asked, qApp, &QCoreApplication::quit);
    QObject::connect(&signals, &Posix_signals::resized, &screen, &Live_screen::show);
    QObject::connect(&screen, &Live_screen::end_asked, qApp, &QCoreApplication::quit);
    const QString error = screen.start();
    if (error.isEmpty())
        return QCoreApplication::exec();
    complain(error);
    return status_input;
}

/// The figure at a path; undefined where there is none.
QJsonValue figure(const QJsonObject& object, const QStringList& path)
{
    QJsonValue value = object;
    for (const QString& name : path)
        value = value.toObject()[name];
    return value;
}

} // namespace

Stats_verb::Stats_verb() : Verb("stats", "Counts what is in a recording of the line.")
{
    line().take_arguments(1, 1, QStringLiteral("file"),
                          QStringLiteral("A recording or pcapng file; - is standard input."));
    line().add_switch("json", "An object of JSON.", json_);
    line().add_switch("live", "Shows the status file of a running tap on one screen; q ends.",
                      live_);
    line().add("baudrate", "rate", "The line's speed, for its load; 115200.",
               [this](const QString& text) { return take_baud(text); });
    line().add("fail-if", "condition",
               "End with status 1 if it holds: \"unanswered>0\", "
               "\"answers.0x15.p99_ms>20\"; again for more.",
               [this](const QString& text) { return take_limit(text); });
}

QString Stats_verb::take_baud(const QString& text)
{
    baud_ = text.toUInt();
    return baud_ > 0 ? QString() : QStringLiteral("--baudrate: \"%1\" is no speed").arg(text);
}

QString Stats_verb::take_limit(const QString& text)
{
    const auto condition = split_condition(text);
    if (!condition)
        return QStringLiteral("--fail-if: \"%1\" is not FIGURE>NUMBER").arg(text);
    bool good = false;
    const Limit limit = {text, condition->name.split(QLatin1Char('.')), condition->relation,
                         condition->value.toDouble(&good)};
    if (!good)
        return QStringLiteral("--fail-if: \"%1\" ends with no number").arg(text);
    // What every recording has: a name that is not there is a mistake. Those below depend on what
    // was said on the line.
    if (!Line_statistics(1).to_json().contains(limit.path.first()))
        return QStringLiteral("--fail-if: there is no figure \"%1\"").arg(limit.path.first());
    limits_.append(limit);
    return {};
}

int Stats_verb::run(const QStringList& arguments)
{
    return live_ ? show_live(arguments.first()) : count(arguments.first());
}

int Stats_verb::count(const QString& path) const
{
    Recording_events events;
    if (!events.open(path))
        return status_input;
    Line_statistics counted(baud_);
    Line_event event;
    while (events.next(event))
        counted.take(event);

    Output output;
    const QJsonObject json = counted.to_json();
    if (json_) {
        output.line(QJsonDocument(json).toJson().trimmed());
    } else {
        write_counts(output, counted);
        write_identifiers(output, counted);
        write_answers(output, counted);
        write_histogram(output, counted.response());
    }
    const int judgement = judge(json);
    if (!output.flush())
        return status_output;
    return events.is_whole() ? judgement : status_input;
}

/// Names the limits that are passed; status_found when there are some.
int Stats_verb::judge(const QJsonObject& json) const
{
    int status = tool_done;
    for (const Limit& limit : limits_) {
        const QJsonValue value = figure(json, limit.path);
        if (!value.isDouble() || !holds(value.toDouble(), limit.relation, limit.number))
            continue;
        complain(QStringLiteral("%1: it is %2").arg(limit.text).arg(value.toDouble()));
        status = status_found;
    }
    return status;
}
