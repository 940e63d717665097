// The power states of the daemon, in process: "low-power" and "sleep" cannot be reached from
// outside.

#include "DBus_daemon.h"

#include "Captured_console.h"
#include "Interface_base.h"
#include "Power_interface.h"
#include "Test_daemon.h"
#include "Waiting.h"

#include <QFile>
#include <QTimer>

#include <algorithm>

namespace {

/// Keeps what it is told, and how far the log had come by then.
class Told_object : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.test")
public:
    Told_object(Test_daemon& world, QStringList& told)
        : Interface_base(world.daemon, QStringLiteral("test"), nullptr), world_(world), told_(told)
    {
    }

    void power_state_changed(int state) override
    {
        world_.log.settle(); // not the event loop, which would let timers expire meanwhile
        told_.append(QStringLiteral("%1 after %2 lines, %3 shutdowns")
                         .arg(state)
                         .arg(world_.log.lines().size())
                         .arg(world_.root.systemctl_calls().size()));
        Q_EMIT told();
    }

Q_SIGNALS:
    void told();

private:
    Test_daemon& world_;
    QStringList& told_;
};

} // namespace

class DBus_daemon_test : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private:
    QStringList told_;
    Told_object* teller_ = nullptr;

    DBus_daemon& daemon() { return *world_.daemon; }
    QTimer& power_timer()
    {
        for (auto* timer : daemon().findChildren<QTimer*>()) {
            if (timer->isSingleShot()) // a time that is over is logged once
                return *timer;
        }
        qFatal("no timer");
    }
    QString marker() const { return world_.root.path(QStringLiteral("tmp/input_activity")); }
    void make_marker() { world_.root.write(QStringLiteral("tmp/input_activity"), ""); }

    void go_to(int state)
    {
        daemon().set_power_state(state);
        world_.clear();
        world_.root.remove(QStringLiteral("systemctl.calls"));
        told_.clear();
    }

    static QString switching(const char* from, const char* to)
    {
        return QStringLiteral("Switching power state: %1=>%2")
            .arg(QLatin1String(from), QLatin1String(to));
    }

private Q_SLOTS:
    void initTestCase()
    {
        teller_ = new Told_object(world_, told_); // the daemon's list owns it
        daemon().make_power_timer();
        QCOMPARE(world_.lines(),
                 (QStringList{QStringLiteral("=============== Starting ================="),
                              QStringLiteral("Timeout for on is 30"),
                              QStringLiteral("Timeout for low-power is 0"),
                              QStringLiteral("Timeout for sleep is -7")}));
        world_.clear();
    }

    void first_switch_is_from_null()
    {
        daemon().handle_power_timeout(); // before any state
        daemon().set_power_state(state_on);
        QCOMPARE(world_.lines(),
                 (QStringList{QStringLiteral("Timeout in state null"), switching("null", "on")}));
        QCOMPARE(told_, QStringList{QStringLiteral("0 after 2 lines, 0 shutdowns")});
    }

    void same_state_does_nothing()
    {
        go_to(state_on);
        QVERIFY(power_timer().isActive()); // 30 s
        QVERIFY(wait_for([this] { return power_timer().remainingTime() < 30000; }));
        const int remaining = power_timer().remainingTime();
        daemon().set_power_state(state_on);
        QCOMPARE_LE(power_timer().remainingTime(), remaining);
        QCOMPARE_EMPTY(world_.lines());
        QCOMPARE_EMPTY(told_);
    }

    void state_and_its_time_begin_when_all_have_been_told()
    {
        go_to(state_on);
        const QMetaObject::Connection looking = connect(teller_, &Told_object::told, [this] {
            daemon().handle_power_timeout();
            told_.append(QString::number(power_timer().interval()));
            QVERIFY(QFile::exists(marker()));
        });
        make_marker();
        daemon().set_power_state(state_low_power);
        disconnect(looking);
        QCOMPARE(told_.value(1), QStringLiteral("30000"));
        QCOMPARE(power_timer().interval(), 0);
        QVERIFY(!QFile::exists(marker()));
        world_.log.settle(); // without the event loop: the time-out is 0
        QCOMPARE(world_.log.lines(), (QStringList{switching("on", "low-power"),
                                                  QStringLiteral("Timeout in state on")}));
    }

    void ignition_selects_the_state()
    {
        go_to(state_on);
        daemon().ignition_changed(true);
        QCOMPARE(world_.lines(), QStringList{QStringLiteral("Ignition changed: on")});
        go_to(state_sleep);
        daemon().ignition_changed(true);
        QCOMPARE(world_.lines(),
                 (QStringList{QStringLiteral("Ignition changed: on"), switching("sleep", "on")}));
        world_.clear();
        daemon().ignition_changed(false);
        QCOMPARE(world_.lines().mid(0, 2), (QStringList{QStringLiteral("Ignition changed: off"),
                                                        switching("on", "low-power")}));
    }

    void low_power_times_out_to_sleep_which_shuts_down_once()
    {
        go_to(state_on);
        daemon().set_power_state(state_low_power); // its time-out is 0
        QVERIFY(QTest::qWaitFor([this] { return world_.lines().size() >= 3; }, patience_ms));
        QCOMPARE(world_.lines(), (QStringList{switching("on", "low-power"),
                                              QStringLiteral("Timeout in state low-power"),
                                              switching("low-power", "sleep")}));
        QCOMPARE(world_.root.systemctl_calls(), QStringList{QStringLiteral("poweroff --no-block")});
        // All objects are told before the terminal is shut down.
        QCOMPARE(told_, (QStringList{QStringLiteral("1 after 1 lines, 0 shutdowns"),
                                     QStringLiteral("2 after 3 lines, 0 shutdowns")}));
    }

    void negative_time_out_starts_no_timer_and_stops_the_last()
    {
        go_to(state_on); // 30 s
        daemon().set_power_state(state_sleep);
        QVERIFY(!power_timer().isActive());
        daemon().set_power_state(state_on);
        QVERIFY(power_timer().isActive());
        QCOMPARE(power_timer().interval(), 30000);
    }

    void time_out_in_other_states_is_only_logged()
    {
        go_to(state_sleep);
        daemon().handle_power_timeout();
        QCOMPARE(world_.lines(), QStringList{QStringLiteral("Timeout in state sleep")});
        go_to(state_on);
        daemon().handle_power_timeout();
        QCOMPARE(world_.lines(), QStringList{QStringLiteral("Timeout in state on")});
        QCOMPARE_EMPTY(world_.root.systemctl_calls());
    }

    void marker_is_removed_on_the_way_into_low_power()
    {
        go_to(state_on);
        make_marker();
        daemon().set_power_state(state_low_power);
        QVERIFY(!QFile::exists(marker()));
        go_to(state_on);
        make_marker();
        daemon().set_power_state(state_sleep);
        QVERIFY(QFile::exists(marker()));
        daemon().set_power_state(state_on);
        QVERIFY(QFile::exists(marker()));
        QVERIFY(QFile::remove(marker()));
    }

    void touch_takes_low_power_back_to_on()
    {
        go_to(state_on);
        daemon().set_power_state(state_low_power);
        make_marker();
        world_.log.settle(); // without the event loop: the time-out is 0
        world_.log.clear();
        QStringList met;
        const QMetaObject::Connection looking = connect(teller_, &Told_object::told, [this, &met] {
            met.append(QFile::exists(marker()) ? QStringLiteral("marker") : QString());
        });
        Captured_descriptor output(STDOUT_FILENO);
        daemon().handle_check_touch_timeout();
        disconnect(looking);
        QCOMPARE(met, QStringList{QStringLiteral("marker")});
        QCOMPARE(output.text(), QByteArray("activity\n"));
        QCOMPARE(world_.lines(),
                 (QStringList{switching("low-power", "on"), QStringLiteral("Touch activity ")}));
        QVERIFY(!QFile::exists(marker()));
    }

    void touch_in_other_states_changes_nothing()
    {
        for (const int state : {int{state_on}, int{state_sleep}}) {
            go_to(state);
            make_marker();
            Captured_descriptor output(STDOUT_FILENO);
            daemon().handle_check_touch_timeout();
            QCOMPARE(output.text(), QByteArray("activity\n"));
            QCOMPARE(world_.lines(), QStringList{QStringLiteral("Touch activity ")});
            QVERIFY(!QFile::exists(marker()));
        }
    }

    void no_touch_is_printed_alone()
    {
        go_to(state_low_power);
        Captured_descriptor output(STDOUT_FILENO);
        daemon().handle_check_touch_timeout();
        QCOMPARE(output.text(), QByteArray("no-activity\n"));
        QCOMPARE_LACKS(world_.lines(), QLatin1String("Touch activity "));
    }

    void system_off_in_sleep_shuts_down_twice()
    {
        go_to(state_on);
        auto* system = new Power_interface(world_.daemon, QStringLiteral("device/system/power"),
                                           Power_interface::kind_system, "system");
        QCOMPARE(world_.lines().last(),
                 QStringLiteral("PWR:on=T low-power=T sleep=F  3 for "
                                "/com/quorin/system/device/system/power:system"));
        world_.clear();
        daemon().set_power_state(state_sleep);
        QCOMPARE(world_.lines(),
                 (QStringList{switching("on", "sleep"), QStringLiteral("System => OFF")}));
        QCOMPARE(world_.root.systemctl_calls().size(), 2);
        bool suspended = false;
        system->is_suspended(suspended);
        QVERIFY(suspended);
        world_.clear();
        daemon().set_power_state(state_on);
        QCOMPARE(world_.lines().last(), QStringLiteral("System => ON"));
        QCOMPARE(world_.root.systemctl_calls().size(), 2);
    }

    void states_that_are_none_are_null()
    {
        go_to(state_on);
        daemon().set_power_state(state_none);
        const QList<QTimer*> timers = daemon().findChildren<QTimer*>();
        QVERIFY(std::none_of(timers.begin(), timers.end(),
                             [](const QTimer* timer) { return timer->isActive(); }));
        go_to(state_on);
        daemon().set_power_state(7);
        daemon().set_power_state(-1);
        daemon().set_power_state(state_on);
        QCOMPARE(world_.lines().filter(QStringLiteral("Switching")),
                 (QStringList{switching("on", "null"), switching("null", "null"),
                              switching("null", "on")}));
    }

    void exit_happens_once()
    {
        QVERIFY(!daemon().is_exiting());
        world_.clear();
        QStringList before_closing;
        world_.link->before_closing = [this, &before_closing] {
            world_.log.settle();
            before_closing += world_.log.lines();
        };
        daemon().exit_daemon();
        QCOMPARE(before_closing,
                 QStringList{QStringLiteral("=============== Exiting =================")});
        daemon().exit_daemon();
        QVERIFY(daemon().is_exiting());
        QVERIFY(!daemon().begin_exit());
        QCOMPARE(world_.lines(),
                 QStringList{QStringLiteral("=============== Exiting =================")});
        Captured_descriptor output(STDOUT_FILENO);
        daemon().send_periodic_cmds(); // nothing any more
        QCOMPARE_EMPTY(world_.link->sent);
        daemon().handle_quit();
        QCOMPARE(output.text(), QByteArray("Quiting\n"));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<DBus_daemon_test>(
        count, arguments,
        R"(<power><state name="on"><param name="timeout">30</param></state>
<state name="low-power"><param name="timeout">0</param></state>
<state name="sleep"><param name="timeout">-7</param><device name="system">off</device></state>
</power>)");
}
#include "dbus_daemon.moc"
