#include "Read_verb.h"

#include "Output.h"
#include "Recording_events.h"

#include <QJsonDocument>

#include <limits>

Read_verb::Read_verb() : Verb("read", "Shows what is in recordings of the line.")
{
    line().take_arguments(1, std::numeric_limits<int>::max(), QStringLiteral("file..."),
                          QStringLiteral("Recordings or pcapng files; - is standard input."));
    line().add("from", "host|controller", "Only what this side sends.",
               [this](const QString& text) { return take_sender(text); });
    add_id(filter_);
    line().add("where", "field=value",
               "Only messages whose field passes: \"analog>2.5 V\"; again for more.",
               [this](const QString& text) {
                   const QString error = filter_.want_field(text);
                   return error.isEmpty() ? error : QStringLiteral("--where: ") + error;
               });
    line().add("errors", "", "Only what is wrong.", [this](const QString&) {
        filter_.want_errors();
        return QString();
    });
    line().add("unanswered", "", "Only requests without an answer.", [this](const QString&) {
        filter_.want_unanswered();
        return QString();
    });
    add_time(style_);
    line().add_switch("json", "An object of JSON a line.", json_);
    line().add_switch("csv", "Comma-separated values.", csv_);
}

QString Read_verb::take_sender(const QString& text)
{
    const bool is_host = text == QLatin1String("host");
    if (!is_host && text != QLatin1String("controller"))
        return QStringLiteral("--from: \"%1\" is not host or controller").arg(text);
    filter_.want_sender(is_host ? Sender::host : Sender::controller);
    return {};
}

int Read_verb::run(const QStringList& arguments)
{
    Output output;
    if (csv_)
        output.line(Event_format::csv_header());
    bool are_whole = true;
    for (const QString& path : arguments)
        are_whole = read(path, output) && are_whole;
    if (!output.flush())
        return status_output;
    return are_whole ? tool_done : status_input;
}

/// Whether the recording could be read to its end.
bool Read_verb::read(const QString& path, Output& output) const
{
    Recording_events events;
    if (!events.open(path))
        return false;
    Event_format format;
    Line_event event;
    while (events.next(event)) {
        format.set_wall_clock(events.wall_clock_us());
        format.see(event);
        if (filter_.wants(event))
            write(output, format, event);
    }
    return events.is_whole();
}

void Read_verb::write(Output& output, Event_format& format, const Line_event& event) const
{
    if (json_)
        output.line(QJsonDocument(format.json(event)).toJson(QJsonDocument::Compact));
    else if (csv_)
        output.line(format.csv(event));
    else
        output.line(format.line(event, style_));
}
