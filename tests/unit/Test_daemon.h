#pragma once

#include "Captured_console.h"
#include "DBus_daemon.h"
#include "Power_controller_interface.h"
#include "Syslog_receiver.h"
#include "Test_root.h"

#include <QTest>
#include <QVector>

#include <functional>

#include <unistd.h>

/// In hexadecimal, one a message.
using Payloads = QVector<QByteArray>;

/// A link that keeps the payloads that are to be sent.
class Recording_link : public Power_controller_interface {
public:
    bool send_packet(const unsigned char* payload, int len) override
    {
        if (before_sending)
            before_sending();
        sent.append(QByteArray(reinterpret_cast<const char*>(payload), len).toHex());
        return true;
    }

    void close() override
    {
        if (before_closing)
            before_closing();
        Power_controller_interface::close();
    }

    Payloads sent;
    std::function<void()> before_sending; ///< none to begin with
    std::function<void()> before_closing; ///< the same
};

/// A daemon in the test's own process, with files and a log of its own, and without a bus.
struct Test_daemon {
    Test_root root;
    Syslog_receiver log{root.path(QStringLiteral("log"))};
    DBus_daemon* daemon = nullptr;
    Recording_link* link = nullptr;

    /// The log since the last clear.
    QStringList lines()
    {
        QCoreApplication::processEvents();
        log.settle();
        return log.lines();
    }

    void clear()
    {
        lines();
        log.clear();
        link->sent.clear();
    }
};

/// A test of what such a daemon owns.
class Daemon_test : public QObject {
public:
    explicit Daemon_test(Test_daemon& world) : world_(world) {}

protected:
    /// An object of the given kind, which the daemon owns. What it prints, logs and sends when it
    /// is made does not count.
    template <class Object, class... More>
    Object& make(More... more)
    {
        const Captured_descriptor output(STDOUT_FILENO);
        auto* object = new Object(world_.daemon, QStringLiteral("object"), more...);
        world_.clear();
        return *object;
    }

    Test_daemon& world_;
};

/// Runs a test class that is constructed with a Test_daemon.
template <class Test>
int run_with_daemon(int count, char** arguments, const QByteArray& power_configuration,
                    const QByteArray& oem_profile = {})
{
    // Nothing here is deleted: the daemon is a program's whole life, and the link a port's.
    auto* world = new Test_daemon;
    qputenv("DOV_TEST_ROOT", world->root.path().toUtf8());
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + world->root.path().toUtf8() + "/no-bus");
    world->root.write(QStringLiteral("etc/power_manage.conf"), power_configuration);
    if (!oem_profile.isEmpty())
        world->root.write(QStringLiteral("etc/oem_profile.conf"), oem_profile);
    static int program_alone = 1; // the test's arguments are none of the daemon's
    world->daemon = new DBus_daemon(program_alone, arguments);
    world->link = new Recording_link;
    world->daemon->set_link(world->link);
    Test test(*world);
    const int failures = QTest::qExec(&test, count, arguments);
    world->root.remove(QString());
    return failures;
}
