#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

/// POSIX signals as Qt signals, in the event loop. One instance at most.
class Posix_signals : public QObject {
    Q_OBJECT
public:
    Posix_signals();
    ~Posix_signals() override;

Q_SIGNALS:
    /// SIGINT, SIGTERM or SIGHUP: the process is to end.
    void end_asked();
    /// SIGWINCH: the terminal has another size.
    void resized();

private:
    void take();

    std::unique_ptr<QSocketNotifier> notifier_;
};
