// The connection to the bus: in the main thread, and in QtDBus's own way where something that the
// first takes for granted is not so.

#include "Bus_connection.h"

#include "Captured_console.h"
#include "Private_bus.h"
#include "Qt_bus_internals.h"
#include "Signal_relay.h"
#include "Waiting.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QFile>
#include <QLibraryInfo>
#include <QSemaphore>
#include <QThread>
#include <QVersionNumber>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <thread>

#include <dbus/dbus.h>
#include <unistd.h>

namespace {

const QString path = QStringLiteral("/signals");
const QString interface = QStringLiteral("com.quorin.test");
const QString service = QStringLiteral("com.quorin.test");

QThread* bus_thread()
{
    return QDBusConnection::systemBus().interface()->parent()->thread();
}

/// How many bytes the bus has not taken.
long unsent()
{
    return dbus_connection_get_outgoing_size(
        static_cast<DBusConnection*>(QDBusConnection::systemBus().internalPointer()));
}

void send_signal(Bus_connection& bus)
{
    DBusMessage* const message = dbus_message_new_signal("/signals", "com.quorin.test", "happened");
    bus.send(message);
    dbus_message_unref(message);
}

/// What a file has taken so far; what has collected for it is not written for that.
QByteArray written_to(int descriptor)
{
    QFile file(QStringLiteral("/proc/self/fd/%1").arg(descriptor));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

/// QtDBus with something that is not as the connection takes for granted.
class Other_internals : public Qt_bus_internals {
public:
    enum class Lacking { nothing, version, connection, watcher, libdbus, relay };

    explicit Other_internals(Lacking lacking) : lacking_(lacking)
    {
        if (lacking == Lacking::watcher) {
            thread_.start();
            without_watcher_.moveToThread(&thread_);
        }
    }
    ~Other_internals() override
    {
        thread_.quit();
        thread_.wait();
    }
    Q_DISABLE_COPY(Other_internals)

    bool is_known() const override { return lacking_ != Lacking::version; }
    QObject* connection_object(const QDBusConnection& bus) const override
    {
        if (lacking_ == Lacking::watcher)
            return &without_watcher_;
        return lacking_ == Lacking::connection ? nullptr : Qt_bus_internals::connection_object(bus);
    }
    DBusConnection* libdbus_connection(const QDBusConnection& bus) const override
    {
        return lacking_ == Lacking::libdbus ? nullptr : Qt_bus_internals::libdbus_connection(bus);
    }
    QObject* relay_of(const QDBusAbstractAdaptor* adaptor) const override
    {
        return lacking_ == Lacking::relay ? nullptr : Qt_bus_internals::relay_of(adaptor);
    }

private:
    Lacking lacking_;
    QThread thread_;
    mutable QObject without_watcher_;
};

using Lacking = Other_internals::Lacking;

} // namespace

Q_DECLARE_METATYPE(Other_internals::Lacking)

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
        // Not QDBus::BlockWithGui: that never sees an answer which comes before it starts to wait.
        const QDBusPendingCallWatcher watcher(
            bus_.asyncCall(QDBusMessage::createMethodCall(
                               QDBusConnection::systemBus().baseService(), path, interface, method),
                           patience_ms));
        wait_for([&watcher] { return watcher.isFinished(); });
        QCoreApplication::processEvents(); // the signals that came before it
        return watcher.reply();
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

public Q_SLOTS:
    void answer(int& number) { number = 42; }

Q_SIGNALS:
    void happened();
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

class Bus_connection_test : public QObject {
    Q_OBJECT

    Private_bus bus_;

    static void add_ways()
    {
        QTest::addColumn<Lacking>("lacking");
        QTest::newRow("as it is") << Lacking::nothing;
        QTest::newRow("a version that is not known") << Lacking::version;
        QTest::newRow("no object that reads") << Lacking::connection;
        QTest::newRow("an object without the socket") << Lacking::watcher;
        QTest::newRow("another libdbus") << Lacking::libdbus;
        QTest::newRow("another relay") << Lacking::relay;
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus_.address().toUtf8());
        QVERIFY(QDBusConnection::systemBus().isConnected());
    }

    /// A newer one may be other inside: its insides are looked at once it has been tried.
    void versions_that_are_known_data()
    {
        QTest::addColumn<QVersionNumber>("version");
        QTest::addColumn<bool>("known");
        QTest::newRow("5.14") << QVersionNumber(5, 14, 2) << false;
        QTest::newRow("5.15") << QVersionNumber(5, 15, 0) << true;
        QTest::newRow("5.15 of Debian 13") << QVersionNumber(5, 15, 15) << true;
        QTest::newRow("6.0") << QVersionNumber(6, 0, 4) << false;
        QTest::newRow("6.3") << QVersionNumber(6, 3, 2) << false;
        QTest::newRow("6.4") << QVersionNumber(6, 4, 0) << true;
        QTest::newRow("6.4.2 of Debian 12") << QVersionNumber(6, 4, 2) << true;
        QTest::newRow("6.5") << QVersionNumber(6, 5, 0) << false;
        QTest::newRow("6.7") << QVersionNumber(6, 7, 3) << false;
        QTest::newRow("6.8") << QVersionNumber(6, 8, 0) << true;
        QTest::newRow("6.8.2 of Debian 13") << QVersionNumber(6, 8, 2) << true;
        QTest::newRow("6.9") << QVersionNumber(6, 9, 0) << false;
        QTest::newRow("7.0") << QVersionNumber(7, 0, 0) << false;
    }
    void versions_that_are_known()
    {
        QFETCH(const QVersionNumber, version);
        QFETCH(const bool, known);
        QCOMPARE(Qt_bus_internals::is_known(version), known);
    }

    /// What the program does.
    void running_version_decides()
    {
        const Qt_bus_internals internals;
        QCOMPARE(internals.is_known(), Qt_bus_internals::is_known(QLibraryInfo::version()));
        Bus_connection bus;
        bus.start(service);
        QCOMPARE(bus.is_in_main_thread(), internals.is_known());
    }

    void nothing_happens_before_the_start()
    {
        Bus_connection bus;
        QObject object;
        QVERIFY(bus.publish(new Signalling(&object), path) == nullptr);
        send_signal(bus);
        QVERIFY(!bus.is_in_main_thread());
        QCOMPARE(bus.base_service(), QString());
    }

    void connection_comes_and_goes_back()
    {
        QThread* const own = bus_thread();
        QCOMPARE_NE(own, thread());
        const Other_internals internals(Lacking::nothing);
        {
            Bus_connection bus(internals);
            bus.start(service);
            QVERIFY(bus.is_in_main_thread());
            QCOMPARE(bus_thread(), thread());
            bus.leave_main_thread();
            QVERIFY(!bus.is_in_main_thread());
            QCOMPARE(bus_thread(), own);
        }
        QVERIFY(QDBusConnection::systemBus().interface()->isServiceRegistered(
            service)); // waits for its reply
    }

    void way_is_qtdbus_own_where_something_is_lacking_data() { add_ways(); }
    void way_is_qtdbus_own_where_something_is_lacking()
    {
        QFETCH(const Lacking, lacking);
        QThread* const own = bus_thread();
        const Other_internals internals(lacking);
        Bus_connection bus(internals);
        bus.start(service);
        const bool is_own_way = lacking == Lacking::nothing || lacking == Lacking::relay;
        QCOMPARE(bus.is_in_main_thread(), is_own_way);
        QCOMPARE(bus_thread(), is_own_way ? thread() : own);
        QObject object;
        const auto relay = bus.publish(new Signalling(&object), path);
        QCOMPARE(relay != nullptr, lacking == Lacking::nothing);
        bus.leave_main_thread();
    }

    /// What leaves is of the very types that the introspection names, once, and behind the text.
    void signals_and_calls_are_the_same_in_each_way_data() { add_ways(); }
    void signals_and_calls_are_the_same_in_each_way()
    {
        QFETCH(const Lacking, lacking);
        Listener listener(bus_.address());
        Message_listener received(listener.bus());
        listener.wait_for_the_bus();
        const Other_internals internals(lacking);
        Bus_connection bus(internals);
        bus.start(service);
        QCOMPARE(bus.base_service(), QDBusConnection::systemBus().baseService());
        QCOMPARE(bus.name(), QDBusConnection::systemBus().name());
        auto object = std::make_unique<QObject>();
        auto* const adaptor = new Signalling(object.get());
        auto relay = bus.publish(adaptor, path);
        QCOMPARE(listener.call(QStringLiteral("answer")).arguments(), QVariantList{42});

        const Captured_descriptor output(STDOUT_FILENO);
        Console::out() << "half a line";
        Q_EMIT adaptor->everything(true, 200, -5, 4000000000U, 0.25, QStringLiteral("\u00e4"));
        QCOMPARE(written_to(STDOUT_FILENO), QByteArray("half a line"));
        QVERIFY(wait_for([&] { return !received.message().signature().isEmpty(); }));
        QCOMPARE(received.message().signature(), QStringLiteral("byiuds"));
        QCOMPARE(received.message().arguments(),
                 (QVariantList{true, QVariant::fromValue(uchar{200}), -5, 4000000000U, 0.25,
                               QStringLiteral("\u00e4")}));

        constexpr int in_a_batch = 150; // more than are kept
        {
            const Console_batch batch;
            for (int i = 0; i < in_a_batch; ++i)
                Q_EMIT adaptor->happened();
            WAIT_UNTIL(listener.counted(), >, 0); // not all of them wait for its end
        }
        WAIT_UNTIL(listener.counted(), >=, in_a_batch);
        listener.call(QStringLiteral("answer"));
        QCOMPARE(listener.counted(), in_a_batch);

        bus.leave_main_thread();
        relay.reset();
        object.reset();
        bus.finish();
        QCOMPARE(listener.call(QStringLiteral("answer")).type(), QDBusMessage::ErrorMessage);
    }

    void signals_leave_in_either_thread()
    {
        Listener listener(bus_.address());
        Bus_connection bus;
        bus.start(service);
        send_signal(bus);
        WAIT_UNTIL(listener.counted(), ==, 1);
        bus.leave_main_thread();
        send_signal(bus);
        WAIT_UNTIL(listener.counted(), ==, 2);
    }

    /// Neither the text nor a signal leaves before: that is one write, and one wake-up of the bus.
    void a_batch_lets_64_signals_go_with_the_text_before_them()
    {
        constexpr int most_kept = 64;
        Listener listener(bus_.address());
        Bus_connection bus;
        bus.start(service);
        const Captured_descriptor output(STDOUT_FILENO);
        const Console_batch batch;
        Console::out() << "text\n";
        for (int i = 1; i < most_kept; ++i)
            send_signal(bus);
        QCOMPARE(written_to(STDOUT_FILENO), QByteArray());
        send_signal(bus);
        QCOMPARE(written_to(STDOUT_FILENO), QByteArray("text\n"));
        WAIT_UNTIL(listener.counted(), ==, most_kept);
    }

    /// More than the socket and the daemon hold; the bus takes all of them.
    void nothing_is_lost_when_the_bus_is_slow()
    {
        constexpr int signals_sent = 30000;
        Listener listener(bus_.address());
        Bus_connection bus;
        bus.start(service);
        for (int i = 0; i < signals_sent; ++i)
            send_signal(bus);
        WAIT_UNTIL(listener.counted(), ==, signals_sent);
    }

    /// The bus goes on as soon as it has more to take than that.
    void no_more_than_a_mebibyte_waits_for_the_bus()
    {
        constexpr long most_unsent = 1024 * 1024;
        constexpr int signals_sent = 30000;
        Bus_connection bus;
        bus.start(service);
        bus_.signal(SIGSTOP);
        std::atomic<bool> are_sent{false};
        std::thread other([this, &are_sent] {
            while (!are_sent && unsent() <= most_unsent)
                std::this_thread::yield();
            bus_.signal(SIGCONT);
        });
        long most = 0;
        for (int i = 0; i < signals_sent; ++i) {
            send_signal(bus);
            most = std::max(most, unsent());
        }
        are_sent = true;
        other.join();
        QCOMPARE_LE(most, most_unsent);
    }

    /// Answers are still on their way in it when the daemon ends.
    void the_end_waits_for_what_the_own_thread_has_to_do()
    {
        constexpr int much_longer_ms = 200; // than an end that waits for nothing
        const Other_internals internals(Lacking::nothing);
        Bus_connection bus(internals);
        bus.start(service);
        QSemaphore has_ended;
        QSemaphore is_done;
        std::atomic<bool> came_first{true};
        const auto work = [&] {
            came_first = !has_ended.tryAcquire(1, much_longer_ms);
            is_done.release();
        };
        QMetaObject::invokeMethod(QDBusConnection::systemBus().interface()->parent(), work,
                                  Qt::QueuedConnection);
        bus.finish();
        has_ended.release();
        QVERIFY(is_done.tryAcquire(1, patience_ms));
        QVERIFY(came_first);
    }

    void nothing_is_kept_for_a_bus_that_is_gone()
    {
        Bus_connection bus;
        bus.start(service);
        bus_.stop();
        QVERIFY(wait_for([] { return !QDBusConnection::systemBus().isConnected(); }));
        for (int i = 0; i < 1000; ++i)
            send_signal(bus);
        QCOMPARE(unsent(), 0L);
    }
};

QTEST_GUILESS_MAIN(Bus_connection_test)
#include "bus_connection.moc"
