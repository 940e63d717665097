#include "Posix_signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

namespace {

constexpr int handled[] = {SIGINT, SIGTERM, SIGHUP, SIGWINCH};

sigset_t handled_set(bool takes_user_signal)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int number : handled)
        sigaddset(&set, number);
    if (takes_user_signal)
        sigaddset(&set, SIGUSR1);
    return set;
}

} // namespace

Posix_signals::Posix_signals(bool takes_user_signal)
{
    const sigset_t set = handled_set(takes_user_signal);
    pthread_sigmask(SIG_BLOCK, &set, &before_);
    descriptor_ = ::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor_ < 0)
        qFatal("no descriptor for signals");
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, [this] { take(); });
    std::signal(SIGPIPE, SIG_IGN);
}

Posix_signals::~Posix_signals()
{
    notifier_.reset();
    signalfd_siginfo signal = {};
    while (::read(descriptor_, &signal, sizeof signal) > 0) {
    }
    ::close(descriptor_);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void Posix_signals::take()
{
    signalfd_siginfo signal = {};
    while (::read(descriptor_, &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal)) {
        if (signal.ssi_signo == SIGWINCH)
            Q_EMIT resized();
        else if (signal.ssi_signo == SIGUSR1)
            Q_EMIT user_asked();
        else
            Q_EMIT end_asked();
    }
}
