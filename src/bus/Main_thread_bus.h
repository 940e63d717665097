#pragma once

#include <QPointer>

struct DBusMessage;
class QThread;

/// Brings the connection to the system bus into the main thread.
///
/// QtDBus reads and sends on a thread of its own: each call wakes that thread and then the main
/// one, each reply and each signal wakes it again. Here the main thread's event loop reads, and
/// what is sent leaves at once.
///
/// While it is there, nothing may wait for QtDBus in the main thread, which would wait for itself:
/// no call for its reply, and no registered object that is deleted.
///
/// Thread: main.
class Main_thread_bus {
public:
    /// Without a connection it does nothing.
    Main_thread_bus();
    /// Brings it back, and waits until that thread has sent what is left to it, the answers to
    /// calls of deleted objects for example.
    ~Main_thread_bus();
    Q_DISABLE_COPY(Main_thread_bus)

    /// Brings the connection back to QtDBus's own thread, so that objects can be deleted.
    void leave_main_thread();

    /// Sends a message; without a bus, nothing. When more than 1 MiB of messages wait for the bus,
    /// it waits until the bus has taken them, at most 5 s, and again when 1 MiB more wait.
    static void send(DBusMessage* message);

private:
    QPointer<QObject> connection_; ///< QtDBus's own object, which reads and sends in its thread
    QThread* own_thread_ = nullptr;
};
