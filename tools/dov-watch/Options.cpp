#include "Options.h"

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

QString take_once(Options& options)
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

QString take_json(Options& options)
{
    options.json = options.lines = true;
    return {};
}

} // namespace

Tool_request parse_command_line(const QStringList& arguments, Options& options)
{
    Tool_command_line line(QStringLiteral("dov-watch"), QString::fromLatin1(description));
    line.add_text("address", "address", "The bus; the machine's system bus by default.",
                  options.address);
    line.add("interval", "ms",
             "Time between readings of what is not signalled: 50 or more, 1000 by default; 0 reads "
             "everything once.",
             [&](const QString& value) { return take_interval(options, value); });
    line.add("report", "ms",
             "Have the measured inputs signal at least so often (set_time_out), until dov-watch "
             "ends.",
             [&](const QString& value) { return take_report(options, value); });
    line.add("hysteresis", "value",
             "Have the measured inputs signal changes beyond this (set_hysteresis), until "
             "dov-watch ends.",
             [&](const QString& value) { return take_hysteresis(options, value); });
    line.add_text("filter", "text", "Only objects whose path or name contains this.",
                  options.filter);
    line.add("gone", "exit|wait", "When service or bus goes away: exit or wait.",
             [&](const QString& value) { return take_gone(options, value); });
    line.add("metrics", "file", "Keep metrics there for Prometheus, instead of lines or a screen.",
             [&](const QString& value) { return take_metrics(options, value); });
    line.add_text("tap", "file", "Add the counters that dov-line tap --status keeps there.",
                  options.tap);
    line.add("once", "", "Read everything once, a line a value, and end.",
             [&](const QString&) { return take_once(options); });
    line.add("json", "", "One JSON object a change, also on a terminal.",
             [&](const QString&) { return take_json(options); });
    line.add_switch("lines", "One line a change, also on a terminal.", options.lines);
    line.add_switch("ascii", "Draw with ASCII only.", options.ascii);
    Tool_request request = line.parse(arguments);
    if (options.once && !options.metrics.isEmpty())
        request.refuse(QStringLiteral("--metrics and --once exclude each other"));
    return request;
}
