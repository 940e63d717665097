#include "Bus_connection.h"

#include "Console.h"
#include "Signal_relay.h"

#include <QDBusAbstractAdaptor>
#include <QDeadlineTimer>
#include <QLoggingCategory>
#include <QSocketNotifier>
#include <QThread>

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

/// Calls it in the object's own thread, which is another one, and waits.
template <class Function>
void call_in_thread_of(QObject* object, Function function)
{
    QMetaObject::invokeMethod(object, function, Qt::BlockingQueuedConnection);
}

/// Whether the connection's object is in the main thread with what watches its socket.
bool watches_here(const QObject* connection)
{
    const auto* const watcher = connection->findChild<QSocketNotifier*>();
    return connection->thread() == QThread::currentThread() && watcher != nullptr &&
           watcher->thread() == QThread::currentThread();
}

} // namespace

const Qt_bus_internals& Bus_connection::default_internals()
{
    static const Qt_bus_internals internals;
    return internals;
}

Bus_connection::Bus_connection(const Qt_bus_internals& internals)
    : internals_(internals), bus_(QString()), unsent_limit_(most_unsent)
{
}

Bus_connection::~Bus_connection()
{
    finish();
}

void Bus_connection::start(const QString& service)
{
    bus_ = QDBusConnection::systemBus();
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    // Of a call that no object takes, its caller is told; later versions complain here as well.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.dbus.integration.warning=false"));
#endif
    bus_.registerService(service);
    if (!internals_.is_known())
        return;
    QObject* const connection = internals_.connection_object(bus_);
    if (connection == nullptr || internals_.libdbus_connection(bus_) == nullptr)
        return;
    QThread* const own_thread = connection->thread();
    if (own_thread == QThread::currentThread() || !own_thread->isRunning())
        return;
    connection_ = connection;
    own_thread_ = own_thread;
    enter_main_thread();
}

/// An object can only leave a thread from within it.
void Bus_connection::enter_main_thread()
{
    call_in_thread_of(connection_,
                      [this, here = QThread::currentThread()] { connection_->moveToThread(here); });
    if (!watches_here(connection_))
        finish();
}

bool Bus_connection::is_in_main_thread() const
{
    return connection_ != nullptr && connection_->thread() == QThread::currentThread();
}

std::unique_ptr<Signal_relay> Bus_connection::publish(QDBusAbstractAdaptor* adaptor,
                                                      const QString& path)
{
    text_first_.listen_to(adaptor);
    if (!bus_.registerObject(path, adaptor->parent(), QDBusConnection::ExportAdaptors) ||
        connection_ == nullptr)
        return nullptr;
    QObject* const relay = internals_.relay_of(adaptor);
    if (relay == nullptr || !QObject::disconnect(adaptor, nullptr, relay, nullptr))
        return nullptr;
    text_first_.leave(adaptor);
    return std::make_unique<Signal_relay>(adaptor, path, *this);
}

void Bus_connection::send(DBusMessage* message)
{
    if (!Console_batch::is_open()) {
        Console::flush();
        send_now(message);
        return;
    }
    kept_.push_back(dbus_message_ref(message));
    Console_batch::put_behind([this] { send_kept(); });
    if (kept_.size() == most_kept)
        Console::flush();
}

void Bus_connection::send_now(DBusMessage* message)
{
    auto* const connection = static_cast<DBusConnection*>(bus_.internalPointer());
    if (connection == nullptr)
        return;
    dbus_connection_send(connection, message, nullptr);
    if (dbus_connection_get_outgoing_size(connection) > unsent_limit_)
        unsent_limit_ = wait_for_bus(connection) + most_unsent;
}

void Bus_connection::send_kept()
{
    for (DBusMessage* message : kept_) {
        send_now(message);
        dbus_message_unref(message);
    }
    kept_.clear();
}

void Bus_connection::leave_main_thread()
{
    if (is_in_main_thread())
        connection_->moveToThread(own_thread_);
}

void Bus_connection::finish()
{
    leave_main_thread();
    if (connection_ != nullptr)
        call_in_thread_of(connection_, [] {});
    connection_ = nullptr;
}
