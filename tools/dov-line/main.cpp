#include "Check_verb.h"
#include "Compare_verb.h"
#include "Listen_verb.h"
#include "Locale.h"
#include "Poll_verb.h"
#include "Read_verb.h"
#include "Scenario_verb.h"
#include "Send_verb.h"
#include "Stats_verb.h"
#include "Tap_verb.h"

#include <QCoreApplication>

int main(int count, char** values)
{
    use_utf8_locale();
    const QCoreApplication application(count, values);
    const QString tool = QStringLiteral("dov-line");
    Tool_command_line line(
        tool,
        QStringLiteral("Looks at the serial line between dov-dbus and the power controller."));
    Read_verb read;
    Stats_verb stats;
    Compare_verb compare;
    Send_verb send;
    Poll_verb poll;
    Listen_verb listen;
    Check_verb check;
    Scenario_verb scenario;
    Tap_verb tap;
    Verb* const verbs[] = {&read, &stats, &compare, &tap, &send, &poll, &listen, &check, &scenario};
    for (Verb* verb : verbs)
        line.add_verb(verb->name(), verb->line());

    const Tool_request request = line.parse(QCoreApplication::arguments());
    if (!request.runs())
        return leave(tool, request);
    for (Verb* verb : verbs) {
        if (verb->name() == request.verb)
            return verb->run(request.arguments);
    }
    return tool_usage;
}
