#include "Options.h"

#include <type_traits>

namespace {

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
bus ends; a service that is not there yet is waited for. On a terminal and with
--metrics both are waited for, also to come back. --gone says otherwise.

Exit status: 0 ended as asked or with what was watched, 1 no bus or no usable
terminal, 2 wrong usage; with --once also: 3 the service is not on the bus, 4 a
value could not be read.)";

/// An option, and where its value goes.
struct Option_row {
    const char* name;
    const char* value; ///< null for a switch
    const char* meaning;
    QString (*take)(Options& options, const QString& value); ///< what is wrong with the value
};

QString take_interval(Options& options, const QString& value)
{
    bool is_number = false;
    const int interval_ms = value.toInt(&is_number);
    if (!is_number || (interval_ms != 0 && interval_ms < least_interval_ms))
        return QStringLiteral("--interval takes 0, or 50 milliseconds or more");
    options.interval_ms = interval_ms;
    return {};
}

QString take_report(Options& options, const QString& value)
{
    bool is_number = false;
    options.report_ms = value.toUInt(&is_number);
    return is_number ? QString() : QStringLiteral("--report takes a number of milliseconds");
}

QString take_hysteresis(Options& options, const QString& value)
{
    bool is_number = false;
    options.hysteresis = value.toDouble(&is_number);
    return is_number ? QString() : QStringLiteral("--hysteresis takes a number");
}

QString take_gone(Options& options, const QString& value)
{
    if (value != QLatin1String("exit") && value != QLatin1String("wait"))
        return QStringLiteral("--gone takes exit or wait");
    options.on_end =
        value == QLatin1String("exit") ? Options::On_end::leave : Options::On_end::wait;
    return {};
}

QString take_once(Options& options, const QString& /*value*/)
{
    options.once = options.lines = true;
    options.interval_ms = 0;
    return {};
}

QString take_metrics(Options& options, const QString& value)
{
    options.metrics = value;
    options.lines = true;
    return {};
}

QString take_json(Options& options, const QString& /*value*/)
{
    options.json = options.lines = true;
    return {};
}

template <class Value, Value Options::*member>
QString keep(Options& options, const QString& value)
{
    if constexpr (std::is_same_v<Value, bool>)
        options.*member = true;
    else
        options.*member = value;
    return {};
}

constexpr Option_row option_rows[] = {
    {"address", "address", "The bus; the machine's system bus by default.",
     keep<QString, &Options::address>},
    {"interval", "ms",
     "Time between readings of what is not signalled: 50 or more, 1000 by default; 0 reads "
     "everything once.",
     take_interval},
    {"report", "ms",
     "Have the measured inputs signal at least so often (set_time_out), until dov-watch ends.",
     take_report},
    {"hysteresis", "value",
     "Have the measured inputs signal changes beyond this (set_hysteresis), until dov-watch ends.",
     take_hysteresis},
    {"filter", "text", "Only objects whose path or name contains this.",
     keep<QString, &Options::filter>},
    {"gone", "exit|wait", "When service or bus goes away: exit or wait.", take_gone},
    {"metrics", "file", "Keep metrics there for Prometheus, instead of lines or a screen.",
     take_metrics},
    {"tap", "file", "Add the counters that dov-line tap --status keeps there.",
     keep<QString, &Options::tap>},
    {"once", nullptr, "Read everything once, a line a value, and end.", take_once},
    {"json", nullptr, "One JSON object a change, also on a terminal.", take_json},
    {"lines", nullptr, "One line a change, also on a terminal.", keep<bool, &Options::lines>},
    {"ascii", nullptr, "Draw with ASCII only.", keep<bool, &Options::ascii>},
};

} // namespace

Tool_request parse_command_line(const QStringList& arguments, Options& options)
{
    Tool_command_line line(QStringLiteral("dov-watch"), QString::fromLatin1(description));
    for (const Option_row& row : option_rows)
        line.add({QString::fromLatin1(row.name), QString::fromLatin1(row.value),
                  QString::fromLatin1(row.meaning),
                  [&row, &options](const QString& value) { return row.take(options, value); }});
    Tool_request request = line.parse(arguments);
    if (options.once && !options.metrics.isEmpty())
        request.refuse(QStringLiteral("--metrics and --once exclude each other"));
    return request;
}
