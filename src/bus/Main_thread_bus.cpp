#include "Main_thread_bus.h"

#include "Console.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <QThread>

#include <vector>

#include <dbus/dbus.h>

namespace {

constexpr long most_unsent = 1024 * 1024; ///< bytes
constexpr int patience_ms = 5000;
constexpr std::size_t most_kept = 64; ///< messages

/// Waits until the bus has taken all messages. Returns how many bytes it has not.
long wait_for_bus(DBusConnection* connection)
{
    const QDeadlineTimer deadline(patience_ms);
    bool connected = true;
    while (connected && dbus_connection_has_messages_to_send(connection) != 0 &&
           !deadline.hasExpired())
        connected =
            dbus_connection_read_write(connection, static_cast<int>(deadline.remainingTime())) != 0;
    return dbus_connection_get_outgoing_size(connection);
}

void send_now(DBusMessage* message)
{
    auto* const connection =
        static_cast<DBusConnection*>(QDBusConnection::systemBus().internalPointer());
    if (connection == nullptr)
        return;
    dbus_connection_send(connection, message, nullptr);
    static long limit = most_unsent;
    if (dbus_connection_get_outgoing_size(connection) > limit)
        limit = wait_for_bus(connection) + most_unsent;
}

/// The messages behind texts that have collected and not left.
std::vector<DBusMessage*>& kept_messages()
{
    static std::vector<DBusMessage*> messages;
    return messages;
}

void send_kept()
{
    for (DBusMessage* message : kept_messages()) {
        send_now(message);
        dbus_message_unref(message);
    }
    kept_messages().clear();
}

} // namespace

Main_thread_bus::Main_thread_bus()
{
    const QDBusConnectionInterface* bus = QDBusConnection::systemBus().interface();
    if (bus == nullptr)
        return;
    connection_ = bus->parent();
    own_thread_ = connection_->thread();
    // An object can only leave a thread from within it.
    const auto leave = [this, here = QThread::currentThread()] { connection_->moveToThread(here); };
    QMetaObject::invokeMethod(connection_, leave, Qt::BlockingQueuedConnection);
}

Main_thread_bus::~Main_thread_bus()
{
    if (connection_ == nullptr)
        return;
    leave_main_thread();
    QMetaObject::invokeMethod(
        connection_, [] {}, Qt::BlockingQueuedConnection);
}

void Main_thread_bus::leave_main_thread()
{
    if (connection_ != nullptr && connection_->thread() == QThread::currentThread())
        connection_->moveToThread(own_thread_);
}

void Main_thread_bus::send(DBusMessage* message)
{
    if (!Console_batch::is_open()) {
        Console::flush();
        send_now(message);
        return;
    }
    kept_messages().push_back(dbus_message_ref(message));
    Console_batch::put_behind(send_kept);
    if (kept_messages().size() == most_kept)
        Console::flush();
}
