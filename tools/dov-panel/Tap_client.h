#pragma once

#include "Record_buffer.h"

#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <QTimer>

#include <atomic>
#include <memory>
#include <thread>

/// What passes on the line, from the socket of a running dov-line tap. It may come and go.
///
/// The stream is read in a thread, which may wait for it; what it brings waits in a bounded
/// Record_buffer.
///
/// Thread: the one of its event loop.
class Tap_client : public QObject {
    Q_OBJECT
public:
    explicit Tap_client(const QString& path);
    ~Tap_client() override;
    Tap_client(const Tap_client&) = delete;
    Tap_client& operator=(const Tap_client&) = delete;

    bool is_here() const { return descriptor_ >= 0; }

    /// Why it is not here.
    const QString& error() const { return error_; }

Q_SIGNALS:
    /// It has come, or gone.
    void presence_changed();
    /// Something has passed; times are in microseconds since 1970 (UTC). Its bytes are there until
    /// this returns.
    void passed(const Line_record& record);

private:
    void connect_again();
    void read_all(int descriptor);
    void take();
    void lose();

    QString path_;
    QString error_;
    QString end_; ///< why the stream has ended; the thread's until it has
    std::atomic<bool> has_ended_{false};
    int descriptor_ = -1; ///< of the stream, for ending it; the thread closes its own
    Record_buffer seen_;
    Record_batch batch_;
    QSocketNotifier notifier_;
    QTimer again_timer_;
    std::thread thread_;
};
