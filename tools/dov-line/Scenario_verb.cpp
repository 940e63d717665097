#include "Scenario_verb.h"

#include "Output.h"
#include "Recording_events.h"
#include "Scenario_text.h"

Scenario_verb::Scenario_verb()
    : Verb("scenario", "Makes a scenario of the daemon's tests from a recording.")
{
    line().take_arguments(1, 1, QStringLiteral("file"),
                          QStringLiteral("A recording or pcapng file; - is standard input."));
}

int Scenario_verb::run(const QStringList& arguments)
{
    Recording_events events;
    if (!events.open(arguments.first()))
        return status_input;
    std::vector<Line_event> all;
    Line_event event;
    while (events.next(event))
        all.push_back(event);
    Output output;
    output.line(QStringLiteral("# Made of %1 by dov-line scenario.").arg(arguments.first()));
    for (const QString& text : scenario_of(all))
        output.line(text);
    if (!output.flush())
        return status_output;
    return events.is_whole() ? tool_done : status_input;
}
