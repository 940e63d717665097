// The connection to the bus, in the main thread and back in QtDBus's own.

#include "Main_thread_bus.h"

#include "Private_bus.h"
#include "Signal_relay.h"
#include "Waiting.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QSignalSpy>
#include <QtTest>

#include <dbus/dbus.h>

namespace {

const QString path = QStringLiteral("/signals");
const QString interface = QStringLiteral("com.quorin.test");

QThread* bus_thread()
{
    return QDBusConnection::systemBus().interface()->parent()->thread();
}

void send_signal()
{
    DBusMessage* const message = dbus_message_new_signal("/signals", "com.quorin.test", "happened");
    Main_thread_bus::send(message);
    dbus_message_unref(message);
}

} // namespace

/// Receives signals on a connection of its own and answers a call.
class Listener : public QObject {
    Q_OBJECT
public:
    explicit Listener(const QString& address)
        : bus_(QDBusConnection::connectToBus(address, QStringLiteral("listener")))
    {
        bus_.connect({}, path, interface, QStringLiteral("happened"), this, SLOT(count()));
        wait_for_the_bus();
    }

    QDBusConnection bus() const { return bus_; }

    /// Behind it the bus knows what has been asked for.
    void wait_for_the_bus()
    {
        bus_.call(QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));
    }

    int counted() const { return counted_; }

    QDBusMessage call(const QString& method)
    {
        return bus_.call(QDBusMessage::createMethodCall(QDBusConnection::systemBus().baseService(),
                                                        path, interface, method),
                         QDBus::BlockWithGui, 10000);
    }

public Q_SLOTS:
    void count() { ++counted_; }

private:
    QDBusConnection bus_;
    int counted_ = 0;
};

/// Has a signal of every kind of argument.
class Signalling : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.test")
public:
    explicit Signalling(QObject* parent) : QDBusAbstractAdaptor(parent) {}

Q_SIGNALS:
    void everything(bool flag, uchar byte, int number, uint count, double value, QString text);
};

/// Keeps the last message that came.
class Message_listener : public QObject {
    Q_OBJECT
public:
    explicit Message_listener(QDBusConnection bus)
    {
        bus.connect({}, path, interface, QStringLiteral("everything"), this,
                    SLOT(keep(QDBusMessage)));
    }

    const QDBusMessage& message() const { return message_; }

public Q_SLOTS:
    void keep(const QDBusMessage& message) { message_ = message; }

private:
    QDBusMessage message_;
};

class Main_thread_bus_test : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.test")

    Private_bus bus_;

public Q_SLOTS:
    Q_SCRIPTABLE int answer() const { return 42; }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus_.address().toUtf8());
        QVERIFY(QDBusConnection::systemBus().isConnected());
    }

    void connection_comes_and_goes_back()
    {
        QThread* const own = bus_thread();
        QVERIFY(own != thread());
        {
            const Main_thread_bus bus;
            QCOMPARE(bus_thread(), thread());
        }
        QCOMPARE(bus_thread(), own);
        QVERIFY(QDBusConnection::systemBus().interface()->isServiceRegistered(
            QStringLiteral("org.freedesktop.DBus"))); // waits for its reply
    }

    void signals_leave_in_either_thread()
    {
        Listener listener(bus_.address());
        send_signal();
        QVERIFY(wait_for([&] { return listener.counted() == 1; }));
        const Main_thread_bus bus;
        send_signal();
        QVERIFY(wait_for([&] { return listener.counted() == 2; }));
    }

    void calls_are_answered()
    {
        Listener listener(bus_.address());
        QVERIFY(QDBusConnection::systemBus().registerObject(
            path, this, QDBusConnection::ExportScriptableSlots));
        {
            const Main_thread_bus bus;
            QCOMPARE(listener.call(QStringLiteral("answer")).arguments(), QVariantList{42});
        }
        QCOMPARE(listener.call(QStringLiteral("answer")).arguments(), QVariantList{42});
        QDBusConnection::systemBus().unregisterObject(path);
    }

    /// What leaves is of the very types that the introspection names.
    void arguments_keep_their_types()
    {
        Listener listener(bus_.address());
        Message_listener received(listener.bus());
        listener.wait_for_the_bus();
        QObject object;
        auto* const adaptor = new Signalling(&object);
        QVERIFY(QDBusConnection::systemBus().registerObject(path, &object,
                                                            QDBusConnection::ExportAdaptors));
        const Signal_relay relay(adaptor, path);
        {
            const Main_thread_bus bus;
            Q_EMIT adaptor->everything(true, 200, -5, 4000000000U, 0.25, QStringLiteral("\u00e4"));
            QVERIFY(wait_for([&] { return !received.message().signature().isEmpty(); }));
        }
        QCOMPARE(received.message().signature(), QStringLiteral("byiuds"));
        QCOMPARE(received.message().arguments(),
                 (QVariantList{true, QVariant::fromValue(uchar{200}), -5, 4000000000U, 0.25,
                               QStringLiteral("\u00e4")}));
    }

    /// More than the socket and the daemon hold; the bus takes all of them.
    void nothing_is_lost_when_the_bus_is_slow()
    {
        constexpr int signals_sent = 30000;
        Listener listener(bus_.address());
        const Main_thread_bus bus;
        for (int i = 0; i < signals_sent; ++i)
            send_signal();
        QVERIFY(wait_for([&] { return listener.counted() == signals_sent; }));
    }

    void nothing_is_kept_for_a_bus_that_is_gone()
    {
        const Main_thread_bus bus;
        bus_.stop();
        QVERIFY(wait_for([] { return !QDBusConnection::systemBus().isConnected(); }));
        for (int i = 0; i < 1000; ++i)
            send_signal();
        auto* const connection =
            static_cast<DBusConnection*>(QDBusConnection::systemBus().internalPointer());
        QCOMPARE(dbus_connection_get_outgoing_size(connection), 0L);
    }
};

QTEST_GUILESS_MAIN(Main_thread_bus_test)
#include "main_thread_bus.moc"
