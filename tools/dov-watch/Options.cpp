#include "Options.h"

#include <QCommandLineOption>
#include <QCommandLineParser>

namespace {

constexpr int usage_error = 2;
constexpr int least_interval_ms = 50;

const char* const description =
    R"(Shows everything that com.quorin.system publishes on the message bus.

On a terminal: a full screen with every object; "?" shows the keys.
On a pipe: one line a change: time, path, member and value.

What the service signals is not polled. What it does not signal (outputs, power
switches, brightness, versions, settings) is read every interval. So are the
measured inputs in each interval without a signal from them: as long as no
client sets their hysteresis or time-out, the service does not signal them.
Nothing in the service is changed, unless --report, --hysteresis or a key says so.

On a pipe dov-watch ends, with status 0, when the service leaves the bus or the
bus ends; a service that is not there yet is waited for. On a terminal both are
waited for, also to come back. --gone says otherwise.

Exit status: 0 ended as asked or with what was watched, 1 no bus or no usable
terminal, 2 wrong usage.)";

struct Names {
    QCommandLineOption address{QStringLiteral("address"),
                               QStringLiteral("The bus; the machine's system bus by default."),
                               QStringLiteral("address")};
    QCommandLineOption interval{
        QStringLiteral("interval"),
        QStringLiteral("Time between readings of what is not signalled: 50 or more, 1000 by "
                       "default; 0 reads everything once."),
        QStringLiteral("ms")};
    QCommandLineOption report{
        QStringLiteral("report"),
        QStringLiteral("Have the measured inputs signal at least so often (set_time_out), until "
                       "dov-watch ends."),
        QStringLiteral("ms")};
    QCommandLineOption hysteresis{
        QStringLiteral("hysteresis"),
        QStringLiteral("Have the measured inputs signal changes beyond this (set_hysteresis), "
                       "until dov-watch ends."),
        QStringLiteral("value")};
    QCommandLineOption filter{QStringLiteral("filter"),
                              QStringLiteral("Only objects whose path or name contains this."),
                              QStringLiteral("text")};
    QCommandLineOption gone{QStringLiteral("gone"),
                            QStringLiteral("When service or bus goes away: exit or wait."),
                            QStringLiteral("exit|wait")};
    QCommandLineOption json{QStringLiteral("json"),
                            QStringLiteral("One JSON object a change, also on a terminal.")};
    QCommandLineOption lines{QStringLiteral("lines"),
                             QStringLiteral("One line a change, also on a terminal.")};
    QCommandLineOption ascii{QStringLiteral("ascii"), QStringLiteral("Draw with ASCII only.")};
};

/// The number of an option that is set, if it is one in the range.
template <class Number>
bool take_number(const QCommandLineParser& parser, const QCommandLineOption& option,
                 Number (*convert)(const QString&, bool*), std::optional<Number>& target)
{
    if (!parser.isSet(option))
        return true;
    bool is_number = false;
    const Number number = convert(parser.value(option), &is_number);
    if (is_number)
        target = number;
    return is_number;
}

int to_int(const QString& text, bool* ok)
{
    return text.toInt(ok);
}

unsigned to_unsigned(const QString& text, bool* ok)
{
    return text.toUInt(ok);
}

double to_double(const QString& text, bool* ok)
{
    return text.toDouble(ok);
}

/// Takes the values of the options. An error's text, or nothing.
QString take_values(const QCommandLineParser& parser, const Names& names, Options& options)
{
    std::optional<int> interval_ms;
    if (!take_number(parser, names.interval, to_int, interval_ms) ||
        (interval_ms && *interval_ms != 0 && *interval_ms < least_interval_ms))
        return QStringLiteral("--interval takes 0, or 50 milliseconds or more");
    options.interval_ms = interval_ms.value_or(options.interval_ms);
    if (!take_number(parser, names.report, to_unsigned, options.report_ms))
        return QStringLiteral("--report takes a number of milliseconds");
    if (!take_number(parser, names.hysteresis, to_double, options.hysteresis))
        return QStringLiteral("--hysteresis takes a number");
    if (parser.isSet(names.gone)) {
        const QString gone = parser.value(names.gone);
        if (gone != QLatin1String("exit") && gone != QLatin1String("wait"))
            return QStringLiteral("--gone takes exit or wait");
        options.on_end =
            gone == QLatin1String("exit") ? Options::On_end::leave : Options::On_end::wait;
    }
    if (!parser.positionalArguments().isEmpty())
        return QStringLiteral("not an option: ") + parser.positionalArguments().constFirst();
    options.address = parser.value(names.address);
    options.filter = parser.value(names.filter);
    options.json = parser.isSet(names.json);
    options.lines = parser.isSet(names.lines) || options.json;
    options.ascii = parser.isSet(names.ascii);
    return {};
}

} // namespace

Command_line parse_command_line(const QStringList& arguments)
{
    const Names names;
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(description));
    // Not Qt's own, which brings an option for options that only programs with windows have.
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Prints this help."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Prints the version."));
    parser.addOptions({help, version});
    parser.addOptions({names.address, names.interval, names.report, names.hysteresis, names.filter,
                       names.gone, names.json, names.lines, names.ascii});
    Command_line result;
    if (!parser.parse(arguments)) {
        result.text = parser.errorText();
        result.status = usage_error;
    } else if (parser.isSet(help)) {
        result.text = parser.helpText();
    } else if (parser.isSet(version)) {
        result.text = QStringLiteral("dov-watch " DOV_VERSION);
    } else {
        result.text = take_values(parser, names, result.options);
        result.status = result.text.isEmpty() ? 0 : usage_error;
    }
    return result;
}
