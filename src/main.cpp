#include "Console.h"
#include "DBus_daemon.h"
#include "Locale.h"
#include "Reader_patience.h"
#include "Simulator.h"

#include <csignal>
#include <cstring>

#include <sys/signalfd.h>

namespace {

enum class Mode { daemon, simulator, usage };

constexpr int quit_signals[] = {SIGTERM, SIGINT, SIGHUP};

sigset_t quit_signal_set()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : quit_signals)
        sigaddset(&signals, signal);
    return signals;
}

/// Holds back the signals that end the daemon until it can handle them: one that arrives during
/// start-up must not be lost, nor end the process halfway.
void mask_quit_signals(int how)
{
    const sigset_t signals = quit_signal_set();
    pthread_sigmask(how, &signals, nullptr);
}

/// A signal that is held back ends the waiting for who would read the text.
void interrupt_console()
{
    const sigset_t signals = quit_signal_set();
    Reader_patience::interrupt_on(signalfd(-1, &signals, SFD_CLOEXEC));
}

void print_usage(const char* argument)
{
    Console::out().format("Usage: %s [--simulate] [--help]\n", argument)
        << "    --simulate  Simulate PIC\n"
           "    --help      This help\n";
}

/// Echoes the arguments up to "--help", if there is one, and says what they ask for.
Mode parse_arguments(int count, char** arguments)
{
    Mode mode = Mode::daemon;
    for (int i = 1; i < count; ++i) {
        Console::out().format("Got %s\n", arguments[i]);
        if (std::strcmp(arguments[i], "--simulate") == 0)
            mode = Mode::simulator;
        if (std::strcmp(arguments[i], "--help") == 0) {
            print_usage(arguments[i]); // those who look for the text know it so, without a program
            return Mode::usage;
        }
    }
    return mode;
}

void run_simulator(int& count, char** arguments)
{
    mask_quit_signals(SIG_UNBLOCK);
    Console::out() << "Simulate\n";
    Simulator simulator(count, arguments);
    simulator.run();
}

void run_daemon(int& count, char** arguments)
{
    Console::out() << "DBus\n";
    // Never deleted: the link's threads live until the process ends.
    the_daemon = new DBus_daemon(count, arguments);
    for (const int signal : quit_signals)
        std::signal(signal, DBus_daemon::quit_signal_handler);
    mask_quit_signals(SIG_UNBLOCK);
    the_daemon->run();
    for (const int signal : quit_signals)
        std::signal(signal, SIG_IGN);
    the_daemon->handle_quit_signals();
}

} // namespace

int main(int count, char** arguments)
{
    mask_quit_signals(SIG_BLOCK);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // of output that has reached its limit
    // Qt's own event loop, which is cheaper than the one it builds on GLib.
    qputenv("QT_NO_GLIB", "1");
    use_utf8_locale();
    Console::open();
    interrupt_console();
    Console::out() << "Bah\n";
    switch (parse_arguments(count, arguments)) {
    case Mode::simulator:
        run_simulator(count, arguments);
        break;
    case Mode::daemon:
        run_daemon(count, arguments);
        break;
    case Mode::usage:
        break;
    }
    Console::flush();
    return 0;
}
