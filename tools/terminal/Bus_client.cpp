#include "Bus_client.h"

#include "Bus_names.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace {

constexpr int call_time_ms = 5000;

QString bus_name()
{
    return QStringLiteral("org.freedesktop.DBus");
}

QVariant value_of(const QDBusMessage& reply)
{
    const QVariantList values = reply.arguments();
    return values.size() == 1 ? values.first() : QVariant(values);
}

} // namespace

// Qt drops a connection that it has opened by address, and that the bus then does not take, without
// closing it, upon which libdbus aborts. The system bus libdbus opens and closes by itself.
Bus_client::Bus_client(const QString& address)
{
    if (!address.isEmpty())
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address.toUtf8());
}

Bus_client::~Bus_client()
{
    close();
}

bool Bus_client::open(const QSet<QString>& interfaces)
{
    name_ = QStringLiteral("dov-terminal-%1").arg(++opened_);
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, name_);
    if (!bus.isConnected()) {
        error_ = bus.lastError();
        close();
        return false;
    }
    const QString service = QString::fromLatin1(service_name);
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                SLOT(take_disconnection()));
    bus.connect(bus_name(), QStringLiteral("/org/freedesktop/DBus"), bus_name(),
                QStringLiteral("NameOwnerChanged"), {service}, QString(), this,
                SLOT(take_owner(QString, QString, QString)));
    for (const QString& interface : interfaces)
        bus.connect(service, QString(), interface, QString(), this,
                    SLOT(take_signal(QDBusMessage)));

    QDBusMessage ask =
        QDBusMessage::createMethodCall(bus_name(), QStringLiteral("/org/freedesktop/DBus"),
                                       bus_name(), QStringLiteral("GetNameOwner"));
    ask.setArguments({service});
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(ask), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                const QDBusPendingReply<QString> reply = *finished;
                if (!reply.isError())
                    report_owner(reply.value());
                else if (owner_.isEmpty())
                    Q_EMIT owner_missing();
            });
    return true;
}

void Bus_client::close()
{
    if (name_.isEmpty())
        return;
    for (QObject* pending : findChildren<QDBusPendingCallWatcher*>())
        delete pending;
    QDBusConnection::disconnectFromBus(name_);
    name_.clear();
    owner_.clear();
}

QDBusMessage Bus_client::method_call(const QString& path, const QString& interface,
                                     const QString& method, const QVariantList& arguments) const
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(QString::fromLatin1(service_name), path, interface, method);
    message.setAutoStartService(false);
    message.setArguments(arguments);
    return message;
}

void Bus_client::call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments, Answer answer, Failure failure)
{
    const QDBusMessage message = method_call(path, interface, method, arguments);
    auto* const watcher =
        new QDBusPendingCallWatcher(QDBusConnection(name_).asyncCall(message, call_time_ms), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [answer = std::move(answer),
             failure = std::move(failure)](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                if (finished->isError())
                    failure(finished->error());
                else
                    answer(value_of(finished->reply()));
            });
}

QVariant Bus_client::call_now(const QString& path, const QString& interface, const QString& method,
                              const QVariantList& arguments)
{
    const QDBusMessage reply = QDBusConnection(name_).call(
        method_call(path, interface, method, arguments), QDBus::Block, call_time_ms);
    return reply.type() == QDBusMessage::ReplyMessage ? value_of(reply) : QVariant();
}

void Bus_client::report_owner(const QString& owner)
{
    if (owner == owner_)
        return;
    owner_ = owner;
    Q_EMIT owner_changed(owner);
}

void Bus_client::take_signal(const QDBusMessage& message)
{
    Q_EMIT signal_received(message);
}

void Bus_client::take_owner(const QString& /*name*/, const QString& /*old_owner*/,
                            const QString& new_owner)
{
    report_owner(new_owner);
}

void Bus_client::take_disconnection()
{
    Q_EMIT bus_lost();
}
