#include "Event_filter.h"
#include "Event_format.h"
#include "Output.h"
#include "Recording_events.h"
#include "Verb.h"

#include <QJsonDocument>

namespace {

enum class Shape : uchar { lines, json, csv };

const QCommandLineOption from_option(QStringLiteral("from"),
                                     QStringLiteral("only what this side sends"),
                                     QStringLiteral("host|controller"));
const QCommandLineOption id_option(QStringLiteral("id"),
                                   QStringLiteral("only this message: 0x36, 54 or digest; again "
                                                  "for more"),
                                   QStringLiteral("message"));
const QCommandLineOption where_option(QStringLiteral("where"),
                                      QStringLiteral("only messages whose field passes: "
                                                     "\"analog>2.5 V\"; again for more"),
                                      QStringLiteral("field=value"));
const QCommandLineOption errors_option(QStringLiteral("errors"),
                                       QStringLiteral("only what is wrong"));
const QCommandLineOption unanswered_option(QStringLiteral("unanswered"),
                                           QStringLiteral("only requests without an answer"));
const QCommandLineOption time_option(QStringLiteral("time"),
                                     QStringLiteral("since the beginning, of the wall clock, or "
                                                    "since the last line"),
                                     QStringLiteral("relative|absolute|delta"),
                                     QStringLiteral("relative"));
const QCommandLineOption json_option(QStringLiteral("json"),
                                     QStringLiteral("an object of JSON a line"));
const QCommandLineOption csv_option(QStringLiteral("csv"),
                                    QStringLiteral("comma-separated values"));

/// Takes what is wanted from the command line. Returns an error's text, or nothing.
QString set_filter(Event_filter& filter, const QCommandLineParser& parser)
{
    const QString from = parser.value(from_option);
    if (from == QLatin1String("host"))
        filter.want_sender(Sender::host);
    else if (from == QLatin1String("controller"))
        filter.want_sender(Sender::controller);
    else if (!from.isEmpty())
        return QStringLiteral("--from: \"%1\" is not host or controller").arg(from);
    for (const QString& text : parser.values(id_option)) {
        const QString error = filter.want_message(text);
        if (!error.isEmpty())
            return QStringLiteral("--id: ") + error;
    }
    for (const QString& text : parser.values(where_option)) {
        const QString error = filter.want_field(text);
        if (!error.isEmpty())
            return QStringLiteral("--where: ") + error;
    }
    if (parser.isSet(errors_option))
        filter.want_errors();
    if (parser.isSet(unanswered_option))
        filter.want_unanswered();
    return {};
}

std::optional<Time_style> time_style(const QString& text)
{
    if (text == QLatin1String("relative"))
        return Time_style::relative;
    if (text == QLatin1String("absolute"))
        return Time_style::absolute;
    if (text == QLatin1String("delta"))
        return Time_style::delta;
    return std::nullopt;
}

void write(Output& output, Event_format& format, const Line_event& event, Shape shape,
           Time_style style)
{
    switch (shape) {
    case Shape::lines:
        output.line(format.line(event, style));
        break;
    case Shape::json:
        output.line(QJsonDocument(format.json(event)).toJson(QJsonDocument::Compact));
        break;
    case Shape::csv:
        output.line(format.csv(event));
        break;
    }
}

} // namespace

int run_read(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Shows what is in recordings of the line."));
    parser.addPositionalArgument(QStringLiteral("file"),
                                 QStringLiteral("recordings or pcapng files; - is standard input"),
                                 QStringLiteral("FILE..."));
    parser.addOptions({from_option, id_option, where_option, errors_option, unanswered_option,
                       time_option, json_option, csv_option});
    int status = exit_good;
    if (!parse(parser, arguments, status))
        return status;
    Event_filter filter;
    const QString error = set_filter(filter, parser);
    if (!error.isEmpty())
        return refuse(arguments[0], error);
    const auto style = time_style(parser.value(time_option));
    if (!style)
        return refuse(arguments[0], QStringLiteral("--time: \"%1\" is not relative, absolute or "
                                                   "delta")
                                        .arg(parser.value(time_option)));
    if (parser.positionalArguments().isEmpty())
        return refuse(arguments[0], QStringLiteral("no recording is named"));
    const Shape shape = parser.isSet(json_option)  ? Shape::json
                        : parser.isSet(csv_option) ? Shape::csv
                                                   : Shape::lines;

    Output output;
    if (shape == Shape::csv)
        output.line(Event_format::csv_header());
    for (const QString& path : parser.positionalArguments()) {
        Recording_events events;
        if (!events.open(path)) {
            status = exit_input;
            continue;
        }
        Event_format format;
        Line_event event;
        while (events.next(event)) {
            format.set_wall_clock(events.wall_clock_us());
            format.see(event);
            if (filter.wants(event))
                write(output, format, event, shape, *style);
        }
        if (!events.is_whole())
            status = exit_input;
    }
    return output.flush() ? status : exit_output;
}
