#include "Posix_signals.h"

#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int handled[] = {SIGINT, SIGTERM, SIGHUP, SIGWINCH};

/// From the handler to the event loop: one byte a signal, its number.
std::array<int, 2> channel = {-1, -1};

void note(int number)
{
    const int error = errno;
    const char byte = static_cast<char>(number);
    (void)!::write(channel[1], &byte, 1);
    errno = error;
}

} // namespace

Posix_signals::Posix_signals()
{
    if (::pipe2(channel.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        qFatal("no pipe for signals");
    notifier_ = std::make_unique<QSocketNotifier>(channel[0], QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, [this] { take(); });
    struct sigaction action = {};
    action.sa_handler = note;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int number : handled)
        sigaction(number, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

Posix_signals::~Posix_signals()
{
    for (const int number : handled)
        std::signal(number, SIG_DFL);
    notifier_.reset();
    ::close(channel[0]);
    ::close(channel[1]);
}

void Posix_signals::take()
{
    char number = 0;
    while (::read(channel[0], &number, 1) == 1) {
        if (number == SIGWINCH)
            Q_EMIT resized();
        else
            Q_EMIT end_asked();
    }
}
