// What run() puts in place: its timers, and who is connected to whom.

#include "Captured_console.h"
#include "Test_daemon.h"

#include <QMetaMethod>
#include <QTimer>

#include <climits>

class Run : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private:
    QTimer* timer(bool single_shot)
    {
        for (auto* each :
             world_.daemon->findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly)) {
            if (each->isSingleShot() == single_shot)
                return each;
        }
        return nullptr;
    }

private Q_SLOTS:
    void slots_are_declared_in_order()
    {
        QList<QByteArray> declared;
        const QMetaObject& meta = DBus_daemon::staticMetaObject;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            QCOMPARE(meta.method(i).methodType(), QMetaMethod::Slot);
            // As moc of Qt 6 shortens it.
            declared.append(meta.method(i).methodSignature().replace("unsigned char", "uchar"));
        }
        QCOMPARE(declared,
                 (QList<QByteArray>{"handle_packet(const uchar*,uint)", "send_periodic_cmds()",
                                    "handle_quit()", "handle_power_timeout()",
                                    "handle_check_touch_timeout()"}));
    }

    void daemon_knows_nothing_before_it_runs()
    {
        QVERIFY(!world_.daemon->firmware_detection_done());
        QVERIFY(!world_.daemon->is_exiting());
        QCOMPARE(world_.daemon->oem_code(), uchar{255});
        QCOMPARE(world_.daemon->remote_power_up_delay(), uchar{255});
        QVERIFY(timer(false) == nullptr); // no poll
        QVERIFY(timer(true) == nullptr);  // no time-out of a power state
    }

    void poll_and_power_state_have_their_timers()
    {
        world_.daemon->set_link(nullptr);
        Captured_descriptor output(STDOUT_FILENO);
        QTimer* poll = nullptr;
        QTimer* power = nullptr;
        const auto look = [&] {
            poll = timer(false);
            power = timer(true);
            QVERIFY(poll != nullptr && poll->isActive());
            QCOMPARE(poll->interval(), 3000);
            QCOMPARE(poll->timerType(), Qt::PreciseTimer);
            QVERIFY(power != nullptr && power->isActive());
            QCOMPARE(power->interval(), INT_MAX); // its time is longer than a timer's
            QCOMPARE(power->timerType(), Qt::PreciseTimer);
            const uchar message[] = {0x7d, 0, 0, 0, 0, 0, 0, 0};
            Q_EMIT world_.daemon->link()->handle_packet(message, sizeof message);
            QCOMPARE_ENDS(output.text(), "Got message 7d\nUnhandled message default\n");
            poll->start(0);
        };
        const auto finish = [&] {
            if (output.text().count("Periodic\n") > 1)
                world_.daemon->exit_daemon();
        };
        QTimer::singleShot(0, world_.daemon, look);
        QTimer often;
        connect(&often, &QTimer::timeout, finish);
        often.start(1);
        world_.daemon->run();
        QVERIFY(poll != nullptr);
        QCOMPARE_CONTAINS(output.text(), "\nQuiting\n");
        QVERIFY(world_.daemon->is_exiting());
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Run>(
        count, arguments,
        R"(<power><state name="on"><param name="timeout">4294968</param></state></power>)");
}
#include "dbus_daemon_run.moc"
