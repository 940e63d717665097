#include "Line_output.h"
#include "Locale.h"
#include "Metrics_file.h"
#include "Options.h"
#include "Posix_signals.h"
#include "Screen_session.h"
#include "Watcher.h"

#include <QCoreApplication>

#include <unistd.h>

namespace {

const QString tool = QStringLiteral("dov-watch");

/// Ends when what is watched goes away, if that is asked for. Returns the text to leave behind.
void end_with_service(const Watcher& watcher, QString& farewell)
{
    QObject::connect(&watcher, &Watcher::service_left, qApp, [&farewell] {
        farewell = QStringLiteral("the service has left the bus");
        QCoreApplication::quit();
    });
    QObject::connect(&watcher, &Watcher::bus_lost, qApp, [&farewell] {
        farewell = QStringLiteral("the bus has ended");
        QCoreApplication::quit();
    });
}

int watch_in_lines(Watcher& watcher, const Options& options)
{
    const Line_output output(STDOUT_FILENO, options.json, options.filter);
    QObject::connect(&watcher, &Watcher::changed, qApp, [&output](const Change& change) {
        if (!output.write(change))
            QCoreApplication::quit();
    });
    QObject::connect(&watcher, &Watcher::refused, qApp,
                     [](const QString& message) { (void)say(stderr, message); });
    return QCoreApplication::exec();
}

int keep_metrics(const Watcher& watcher, const Options& options)
{
    const Metrics_file file(watcher, options);
    QObject::connect(&file, &Metrics_file::failed, qApp,
                     [](const QString& message) { complain(tool, message); });
    return QCoreApplication::exec();
}

/// How `--once` ends beyond what every tool does.
enum Once_status { status_no_service = 3, status_unreadable = 4 };

int read_once(Watcher& watcher, const Options& options)
{
    int status = tool_done;
    QObject::connect(&watcher, &Watcher::service_missing, qApp, [] {
        complain(tool, QStringLiteral("the service is not on the bus"));
        QCoreApplication::exit(status_no_service);
    });
    QObject::connect(&watcher, &Watcher::unreadable, qApp, [&status](const QString& message) {
        complain(tool, message);
        status = status_unreadable;
    });
    QObject::connect(&watcher, &Watcher::all_read, qApp,
                     [&status] { QCoreApplication::exit(status); });
    return watch_in_lines(watcher, options);
}

int watch_on_screen(Watcher& watcher, const Options& options, const Posix_signals& posix_signals)
{
    Screen_session session(watcher, options);
    if (!session.is_open()) {
        complain(tool, QStringLiteral("this terminal has no full screen, or TERM does not name it; "
                                      "--lines needs none"));
        return tool_failed;
    }
    QObject::connect(&session, &Screen_session::end_asked, qApp, &QCoreApplication::quit);
    QObject::connect(&posix_signals, &Posix_signals::resized, &session, &Screen_session::resize);
    return QCoreApplication::exec();
}

int watch(Watcher& watcher, const Options& options, const Posix_signals& posix_signals,
          bool on_screen)
{
    if (!options.metrics.isEmpty())
        return keep_metrics(watcher, options);
    if (options.once)
        return read_once(watcher, options);
    return on_screen ? watch_on_screen(watcher, options, posix_signals)
                     : watch_in_lines(watcher, options);
}

} // namespace

int main(int count, char** arguments)
{
    // Qt's own event loop; the one built on GLib is of no use here.
    qputenv("QT_NO_GLIB", "1");
    const bool has_utf8 = use_utf8_locale();
    const QCoreApplication application(count, arguments);
    Options options;
    const Tool_request request = parse_command_line(QCoreApplication::arguments(), options);
    if (!request.runs())
        return leave(tool, request);
    options.ascii = options.ascii || !has_utf8;
    const bool on_screen =
        !options.lines && ::isatty(STDOUT_FILENO) != 0 && ::isatty(STDIN_FILENO) != 0;
    Posix_signals posix_signals;
    QObject::connect(&posix_signals, &Posix_signals::end_asked, qApp, &QCoreApplication::quit);
    Watcher watcher({options.address, options.interval_ms, options.report_ms, options.hysteresis});
    if (!watcher.start()) {
        complain(tool, QStringLiteral("no bus: ") + watcher.error());
        return tool_failed;
    }
    QString farewell;
    if (options.on_end == Options::On_end::leave ||
        (options.on_end == Options::On_end::automatic && !on_screen && options.metrics.isEmpty()))
        end_with_service(watcher, farewell);
    const int status = watch(watcher, options, posix_signals, on_screen);
    if (!farewell.isEmpty())
        complain(tool, farewell);
    return status;
}
