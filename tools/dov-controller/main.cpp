#include "Bench_controller.h"
#include "Command_reader.h"
#include "Command_server.h"
#include "Locale.h"
#include "Options.h"
#include "Players.h"
#include "Posix_signals.h"
#include "Recording_writer.h"
#include "Script.h"
#include "Trace.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>

#include <cstdio>
#include <memory>
#include <optional>

#include <unistd.h>

namespace {

const QString tool = QStringLiteral("dov-controller");

void complain(const QString& text)
{
    complain(tool, text);
}

/// Reads a file and what is in it; nothing, after saying why, if either is no good.
template <class Content>
std::optional<Content> load(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        complain(path + QStringLiteral(": ") + file.errorString());
        return std::nullopt;
    }
    Content content = Content::parse(file.readAll());
    for (const Text_error& error : content.errors)
        (void)say(stderr, error.in(path));
    if (!content.errors.isEmpty())
        return std::nullopt;
    return content;
}

/// What plays, if anything does.
struct Program {
    bool is_good = true;
    std::unique_ptr<Player> player;
};

Program load_expecting(const Options& options, Bench_controller& bench, const Trace& trace)
{
    const auto expectation = load<Expectation>(options.replay);
    if (!expectation)
        return {false, nullptr};
    auto player = std::make_unique<Expecting_player>(bench, trace, *expectation, options.replay,
                                                     options.speed, options.wait);
    QObject::connect(player.get(), &Expecting_player::differed, [](const QString& text) {
        complain(text);
        QCoreApplication::exit(tool_failed);
    });
    return {true, std::move(player)};
}

Program load_program(const Options& options, Bench_controller& bench)
{
    if (!options.script.isEmpty()) {
        auto script = load<Script>(options.script);
        if (!script)
            return {false, nullptr};
        return {true, std::make_unique<Script_player>(bench, std::move(*script), options.loop)};
    }
    if (!options.replay.isEmpty()) {
        const auto trace = load<Trace>(options.replay);
        if (!trace)
            return {false, nullptr};
        bench.set_answering(false);
        if (options.expect)
            return load_expecting(options, bench, *trace);
        return {true, std::make_unique<Trace_player>(bench, *trace, options.speed, options.wait)};
    }
    return {};
}

/// Begins a recording. An error's text, or nothing.
QString record(Recording_writer& recording, const QString& path)
{
    Recording_writer::Order order;
    order.path = path;
    constexpr qint64 us_per_ms = 1000;
    const qint64 now_us = QDateTime::currentMSecsSinceEpoch() * us_per_ms;
    order.wall_clock_us = [now_us] { return now_us; };
    order.complain = [](const QString& text) { complain(text); };
    return recording.open(order);
}

void connect_texts(Bench_controller& bench, Recording_writer& recording, bool verbose)
{
    QObject::connect(&bench, &Bench_controller::line_opened,
                     [](const QString& device) { (void)say(stdout, device); });
    QObject::connect(&bench, &Bench_controller::line_failed,
                     [](const QString& text) { complain(text); });
    QObject::connect(&bench, &Bench_controller::text_printed,
                     [](const QString& text) { (void)say(stdout, text); });
    QObject::connect(&bench, &Bench_controller::passed,
                     [&recording](const Trace_entry& entry) { recording.write(entry.record()); });
    if (verbose)
        QObject::connect(&bench, &Bench_controller::passed,
                         [](const Trace_entry& entry) { (void)say(stdout, entry.to_line()); });
}

/// Has those at the socket told what standard output is told.
void connect_server(Bench_controller& bench, Command_server& server, bool verbose)
{
    QObject::connect(&bench, &Bench_controller::line_opened, &server, &Command_server::tell);
    QObject::connect(&bench, &Bench_controller::text_printed, &server, &Command_server::tell);
    if (verbose)
        QObject::connect(&bench, &Bench_controller::passed, &server,
                         [&server](const Trace_entry& entry) { server.tell(entry.to_line()); });
}

/// Ends the program once everything has gone out and been taken, or has had its time for that.
void quit_when_idle(const Bench_controller& bench, QTimer& timer)
{
    constexpr int check_ms = 10;
    constexpr qint64 longest_ms = 5000;
    QObject::connect(&timer, &QTimer::timeout, [&bench, until_ms = bench.now_ms() + longest_ms] {
        if (bench.is_idle() || bench.now_ms() > until_ms)
            QCoreApplication::quit();
    });
    timer.start(check_ms);
}

/// A terminal that belongs to somebody else would stop a background process that reads it.
bool may_read_standard_input()
{
    return isatty(STDIN_FILENO) == 0 || tcgetpgrp(STDIN_FILENO) == getpgrp();
}

/// Has the player begin and, if it is to, end the program.
void connect_player(Bench_controller& bench, Player& player, const Options& options,
                    QTimer& idle_timer)
{
    if (options.exit_at_end)
        QObject::connect(&player, &Player::ended,
                         [&bench, &idle_timer] { quit_when_idle(bench, idle_timer); });
    if (options.wait)
        QObject::connect(&bench, &Bench_controller::host_heard, &player, &Player::start);
    else
        QTimer::singleShot(0, &player, &Player::start);
}

/// Opens the line and runs until something asks for the end.
int serve(Bench_controller& bench, Player* player, const Options& options)
{
    const Posix_signals signals;
    QObject::connect(&signals, &Posix_signals::end_asked, qApp, &QCoreApplication::quit);
    QObject::connect(&bench, &Bench_controller::quit_asked, qApp, &QCoreApplication::quit,
                     Qt::QueuedConnection);
    Command_server server(bench);
    connect_server(bench, server, options.verbose);
    QString error = options.socket.isEmpty() ? QString() : server.open(options.socket);
    if (error.isEmpty())
        error = bench.start(options.place);
    if (!error.isEmpty()) {
        complain(error);
        return tool_failed;
    }
    std::optional<Command_reader> reader;
    if (may_read_standard_input()) {
        reader.emplace(STDIN_FILENO, QStringLiteral("standard input"), bench);
        QObject::connect(&*reader, &Command_reader::failed,
                         [](const QString& text) { (void)say(stderr, text); });
    }
    QTimer idle_timer;
    if (player != nullptr)
        connect_player(bench, *player, options, idle_timer);
    return QCoreApplication::exec();
}

int run(const Options& options)
{
    Bench_controller bench;
    const Program program = load_program(options, bench);
    if (!program.is_good)
        return tool_failed;
    if (options.check)
        return 0;
    Recording_writer recording;
    const QString error = options.record.isEmpty() ? QString() : record(recording, options.record);
    if (!error.isEmpty()) {
        complain(error);
        return tool_failed;
    }
    connect_texts(bench, recording, options.verbose);
    for (const Action& command : options.commands)
        command(bench);
    return serve(bench, program.player.get(), options);
}

} // namespace

int main(int argc, char** argv)
{
    use_utf8_locale();
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(tool);
    Options options;
    const Tool_request request = parse_command_line(QCoreApplication::arguments(), options);
    return request.runs() ? run(options) : leave(tool, request);
}
