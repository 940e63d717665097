#pragma once

#include "Qt_bus_internals.h"
#include "Text_first.h"

#include <QDBusConnection>
#include <QPointer>
#include <QString>

#include <memory>
#include <vector>

struct DBusMessage;
class QThread;
class Signal_relay;

/// The process's connection to the system bus: the service's name, the registered objects, what is
/// sent, and the thread in which that happens.
///
/// QtDBus reads and sends on a thread of its own: each call wakes that thread and then the main
/// one, each reply and each signal wakes it again. Here the main thread's event loop reads, and
/// what is sent leaves at once, by libdbus. That takes for granted what QtDBus does and does not
/// promise:
///
/// 1. The parent of the bus's interface() is the object that reads and sends, and has a thread of
///    its own.
/// 2. Moved to another thread, it reads and sends there: what watches the socket moves with it.
/// 3. internalPointer() is a connection of the libdbus that the daemon is linked with.
/// 4. A registered adaptor's signals lead to one sibling of it, and nowhere else.
///
/// start() looks at the first three, publish() at the last. Where one is not so, or the version of
/// Qt is none of those that this has been tried with, QtDBus's own way is taken: its thread, and
/// the relay that comes with an adaptor. The bus sees the same; it costs more, and nothing limits
/// how many messages wait for a bus that is slow.
///
/// While the main thread reads, nothing may wait for QtDBus in it, which would wait for itself: no
/// call for its reply, and no registered object that is deleted.
///
/// In either way a signal follows the texts that were printed before it: sent while a Console_batch
/// lives, it leaves when the texts have left, or with them when 64 wait.
///
/// Thread: main.
class Bus_connection {
public:
    /// Does nothing yet. `internals` has to live as long.
    explicit Bus_connection(const Qt_bus_internals& internals = default_internals());
    /// As finish().
    ~Bus_connection();
    Q_DISABLE_COPY(Bus_connection)

    /// Connects and asks for the service's name; then the main thread reads. Without a bus nothing
    /// happens, now and later.
    void start(const QString& service);

    /// Whether the main thread reads.
    bool is_in_main_thread() const;

    /// Registers an adaptor's parent, which has no other. Returns what sends the adaptor's signals,
    /// and has to go before it; null when QtDBus sends them, or there are none, or nothing is
    /// registered.
    std::unique_ptr<Signal_relay> publish(QDBusAbstractAdaptor* adaptor, const QString& path);

    /// Sends a message; without a bus, nothing. When more than 1 MiB of messages wait for the bus,
    /// it waits until the bus has taken them, at most 5 s, and again when 1 MiB more wait.
    void send(DBusMessage* message);

    /// Lets QtDBus's own thread read again, so that objects can be deleted.
    void leave_main_thread();

    /// Leaves the main thread, and waits until the other has sent what is left to it, the answers
    /// to calls of deleted objects for example.
    void finish();

    /// The connection's name in the process and on the bus; empty without a bus.
    QString name() const { return bus_.name(); }
    QString base_service() const { return bus_.baseService(); }

private:
    static const Qt_bus_internals& default_internals();

    void enter_main_thread();
    void send_now(DBusMessage* message);
    void send_kept();

    const Qt_bus_internals& internals_;
    QDBusConnection bus_;
    QPointer<QObject> connection_; ///< QtDBus's object; null when its own way is taken
    QThread* own_thread_ = nullptr;
    Text_first text_first_;
    std::vector<DBusMessage*> kept_; ///< behind texts that have not left
    long unsent_limit_;              ///< bytes
};
