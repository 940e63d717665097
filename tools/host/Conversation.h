#pragma once

#include "Dialogue.h"
#include "Host_line.h"
#include "Posix_signals.h"

#include <QElapsedTimer>
#include <QObject>

#include <functional>

/// What is said on a device whose host's end this is.
///
/// Waiting runs the event loop of the thread.
class Conversation : public QObject, public Dialogue {
    Q_OBJECT
public:
    using Recorder = std::function<void(const Line_record&)>;

    Conversation();

    /// Has every byte, and the device's going, handed to a recorder as well.
    void set_recorder(Recorder recorder) { recorder_ = std::move(recorder); }

    /// Opens the device; times count from here. Returns an error's text, or nothing.
    QString open(const QString& path, uint baud);

    void send(const QByteArray& bytes) override;
    bool wait_until(const std::function<bool()>& holds, int ms) override;

    /// Whether the device is gone, or this process is asked to end.
    bool is_over() const override { return is_asked_to_end_ || !line_.is_open(); }

    /// Why the device is gone; empty when it is not.
    const QString& error() const { return error_; }

    qint64 now_us() const override { return clock_.nsecsElapsed() / 1000; }
    qint64 last_look_us() const override { return last_look_us_; }

private:
    void look();
    void record(const Line_record& record);

    Posix_signals signals_;
    Host_line line_;
    Recorder recorder_;
    QElapsedTimer clock_;
    qint64 last_look_us_ = 0;
    QString path_;
    QString error_;
    bool is_asked_to_end_ = false;
};
