#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <csignal>
#include <memory>

/// POSIX signals as Qt signals, in the event loop of the thread that makes this. One instance at
/// most, made before the program has a second thread.
///
/// The signals are blocked, in this thread and in those that it starts later, and read from a
/// descriptor: one that comes before the event loop runs waits for it, and none depends on which
/// thread the system hands it to and what that thread is doing.
class Posix_signals : public QObject {
    Q_OBJECT
public:
    /// With `takes_user_signal` SIGUSR1 is one of them; without, it does what it did before.
    explicit Posix_signals(bool takes_user_signal = false);
    /// Drops what has not been taken, and lets the signals do again what they did before.
    ~Posix_signals() override;

Q_SIGNALS:
    /// SIGINT, SIGTERM or SIGHUP: the process is to end.
    void end_asked();
    /// SIGWINCH: the terminal has another size.
    void resized();
    /// SIGUSR1.
    void user_asked();

private:
    void take();

    sigset_t before_; ///< what was blocked
    int descriptor_;
    std::unique_ptr<QSocketNotifier> notifier_;
};
