#include "Options.h"

namespace {

const char* const description =
    R"(Plays the power controller of a vehicle terminal, for development and tests.

Makes a pseudo terminal for the host to open and prints its path on standard
output, again after each reconnection; or takes a given serial device. Answers
every command of the host's, keeps the state that commands change, pushes
digests at the interval that the host asks for, and shows faults on demand.

Commands come from options, from a script and from standard input.)";

QString commands_text()
{
    QString text = QStringLiteral("\nCommands (in a script each after its time, as 1.5s or "
                                  "+200ms):\n");
    for (const Command_kind& kind : command_kinds())
        text +=
            QStringLiteral("  %1 %2\n")
                .arg((QLatin1String(kind.name) + QLatin1Char(' ') + QLatin1String(kind.arguments))
                         .leftJustified(40),
                     QLatin1String(kind.meaning));
    text += QStringLiteral("\nInputs, with what they can measure:\n");
    for (const Input_kind& kind : input_kinds())
        text += QStringLiteral("  %1 %2 to %3")
                    .arg(QLatin1String(kind.name), -14)
                    .arg(kind.least)
                    .arg(kind.most) +
                (*kind.unit == '\0' ? QString() : QLatin1Char(' ') + QLatin1String(kind.unit)) +
                QLatin1Char('\n');
    text += QStringLiteral("\nWaveforms: constant VALUE, or just VALUE; sine, triangle, square and "
                           "ramp\nLOW HIGH PERIOD; random LOW HIGH PERIOD [SEED].\n"
                           "\nGenerations:\n");
    for (const Generation& generation : generations)
        text += QStringLiteral("  %1 %2\n")
                    .arg(QLatin1String(generation.name), -16)
                    .arg(QLatin1String(generation.meaning));
    return text + QStringLiteral(
                      "\nTimes are numbers with ms, s or min. A # begins a comment.\n"
                      "\nExit status: 0 ended as asked, 1 the line, a script or a recording is no "
                      "good,\nor the host said something else than expected, 2 wrong usage.\n");
}

/// The options that are no commands.
void add_options(Tool_command_line& line, Options& options)
{
    line.add_text("link", "path",
                  "Makes path a symbolic link to the pseudo terminal, while it is there.",
                  options.place.link);
    line.add_text("device", "path", "Takes this serial device instead of making a pseudo terminal.",
                  options.place.device);
    line.add("baudrate", "rate", "Speed of the device; 115200 by default.",
             [&options](const QString& value) {
                 options.place.baud = value.toInt();
                 return QString(); // check() judges it
             });
    line.add_text("socket", "path",
                  "Takes commands at a local socket, too, and tells there what it prints.",
                  options.socket);
    line.add_text("script", "file", "Plays a script: a time and a command a line.", options.script);
    line.add_switch("loop", "Plays the script again and again.", options.loop);
    line.add_text("record", "file", "Writes what goes over the line, in both directions.",
                  options.record);
    line.add_text("replay", "file",
                  "Plays the controller's side of a recording, and answers nothing itself.",
                  options.replay);
    line.add("expect", "",
             "Waits for the host's side of the replay, too; ends with 1 if it differs.",
             [&options](const QString&) {
                 options.expect = options.exit_at_end = true;
                 return QString();
             });
    line.add("speed", "factor", "Replays so many times as fast; 0: without pauses.",
             [&options](const QString& value) {
                 bool good = false;
                 options.speed = value.toDouble(&good);
                 if (!good)
                     options.speed = -1;
                 return QString(); // check() judges it
             });
    line.add_switch("wait", "Script and replay begin with the host's first byte.", options.wait);
    line.add_switch("exit-at-end", "Ends when script or replay has, and the host has taken it all.",
                    options.exit_at_end);
    line.add_switch("check", "Checks script and recording, and ends.", options.check);
    line.add_switch("verbose", "Prints what goes over the line.", options.verbose);
}

/// Takes a command that is to be done before the start. An error's text, or nothing.
QString take_command(const Command_kind& kind, Options& options, const QString& arguments)
{
    Words words(arguments.toUtf8());
    const Action action = parse_arguments(kind, words);
    if (!action)
        return QStringLiteral("--%1: column %2: %3")
            .arg(QLatin1String(kind.name))
            .arg(words.error_column())
            .arg(words.error());
    options.commands.append(action);
    return {};
}

void add_commands(Tool_command_line& line, Options& options)
{
    for (const Command_kind& kind : command_kinds()) {
        if (kind.is_option)
            line.add({QString::fromLatin1(kind.name), QString::fromLatin1(kind.arguments),
                      QStringLiteral("Command before the start: ") + QLatin1String(kind.meaning) +
                          QLatin1Char('.'),
                      [&kind, &options](const QString& arguments) {
                          return take_command(kind, options, arguments);
                      }});
    }
}

/// What does not go, or not together. An error's text, or nothing.
QString check(const Options& options)
{
    if (options.place.baud <= 0)
        return QStringLiteral("--baudrate takes a number above 0");
    if (!(options.speed >= 0))
        return QStringLiteral("--speed takes a number from 0 on");
    if (!options.place.link.isEmpty() && !options.place.device.isEmpty())
        return QStringLiteral("--link is for a pseudo terminal, not for --device");
    if (!options.script.isEmpty() && !options.replay.isEmpty())
        return QStringLiteral("--script and --replay do not go together");
    if (options.expect && options.replay.isEmpty())
        return QStringLiteral("--expect is for --replay");
    return {};
}

} // namespace

Tool_request parse_command_line(const QStringList& arguments, Options& options)
{
    Tool_command_line line(QStringLiteral("dov-controller"), QString::fromLatin1(description));
    add_options(line, options);
    add_commands(line, options);
    line.set_further_help(commands_text());
    Tool_request request = line.parse(arguments);
    request.refuse(check(options));
    return request;
}
