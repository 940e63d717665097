#pragma once

#include "Host_line.h"
#include "Line_analysis.h"
#include "Posix_signals.h"

#include <QElapsedTimer>
#include <QObject>

#include <functional>

/// What is said on a device whose host's end this is: its events, as they come, from both sides.
///
/// Waiting runs the event loop of the thread.
class Conversation : public QObject {
    Q_OBJECT
public:
    using Listener = std::function<void(const Line_event&)>;
    using Recorder = std::function<void(const Line_record&)>;

    explicit Conversation(Listener listener);

    /// Has every byte, and the device's going, handed to a recorder as well.
    void set_recorder(Recorder recorder) { recorder_ = std::move(recorder); }

    /// Opens the device; times count from here. Returns an error's text, or nothing.
    QString open(const QString& path, uint baud);

    /// Sends bytes, and waits until the device has taken them.
    void send(const QByteArray& bytes);

    /// Waits until something holds, at most so long; without end for -1. Whether it holds: what
    /// had come by then counts, also when this process had no time to look at it before.
    bool wait_until(const std::function<bool()>& holds, int ms);

    /// Lets time pass.
    void pass(int ms);

    /// Whether nothing more is to be expected: the device is gone, or this process is asked to end.
    bool is_over() const { return is_asked_to_end_ || !line_.is_open(); }

    /// Why the device is gone; empty when it is not.
    const QString& error() const { return error_; }

    qint64 now_us() const { return clock_.nsecsElapsed() / 1000; }

private:
    void note(const Line_record& record);

    Posix_signals signals_;
    Host_line line_;
    Line_analysis analysis_{Line_analysis::Telling::at_once};
    Listener listener_;
    Recorder recorder_;
    QElapsedTimer clock_;
    QString path_;
    QString error_;
    bool is_asked_to_end_ = false;
};
