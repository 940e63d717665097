#pragma once

#include <QPointer>

struct DBusMessage;
class QThread;

/// Brings the connection to the system bus into the main thread for as long as it lives.
///
/// QtDBus reads and sends on a thread of its own: each call wakes that thread and then the main
/// one, each reply and each signal wakes it again. Here the main thread's event loop reads, and
/// what is sent leaves at once.
///
/// While it lives, nothing may wait for QtDBus in the main thread, which would wait for itself: no
/// call for its reply, and no registered object that is deleted.
///
/// Thread: main.
class Main_thread_bus {
public:
    /// Without a connection it does nothing.
    Main_thread_bus();
    ~Main_thread_bus();
    Q_DISABLE_COPY(Main_thread_bus)

    /// Sends a message; without a bus, nothing. When more than 1 MiB of messages wait for the bus,
    /// it waits until the bus has taken them, at most 5 s, and again when 1 MiB more wait.
    static void send(DBusMessage* message);

private:
    QPointer<QObject> connection_; ///< QtDBus's own object, which reads and sends in its thread
    QThread* own_thread_ = nullptr;
};
