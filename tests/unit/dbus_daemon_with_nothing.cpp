// The daemon without a configuration, and without a link.

#include "Captured_console.h"
#include "DBus_daemon.h"
#include "Objects.h"
#include "Power_interface.h"
#include "Test_daemon.h"

#include <QTimer>

class Daemon_with_nothing : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }

    void cleanup()
    {
        const Captured_descriptor output(STDOUT_FILENO);
        world_.daemon->handle_quit();
        world_.clear();
    }

    void power_name_without_a_configuration_logs_nothing()
    {
        QVERIFY(world_.daemon->power_config() == nullptr);
        auto* power = new Power_interface(world_.daemon, QStringLiteral("p"), 5, "video");
        QCOMPARE_EMPTY(world_.lines());
        for (int state = 0; state < 3; ++state) {
            power->resume();
            power->power_state_changed(state);
            QVERIFY(output_of(*power, &Power_interface::is_suspended));
        }
    }

    void states_without_a_configuration_last_as_long_as_they_do_by_default()
    {
        world_.daemon->make_power_timer();
        const QList<QTimer*> timers = world_.daemon->findChildren<QTimer*>();
        QCOMPARE(timers.size(), 1);
        world_.daemon->set_power_state(state_on);
        QVERIFY(!timers[0]->isActive());
        for (const int state : {int{state_low_power}, int{state_sleep}}) {
            timers[0]->setInterval(0);
            world_.daemon->set_power_state(state);
            QVERIFY(timers[0]->isActive());
            QCOMPARE(timers[0]->interval(), 100000);
        }
        world_.daemon->set_power_state(state_none);
    }

    void zz_daemon_without_a_link_exits_all_the_same()
    {
        world_.daemon->set_link(nullptr);
        world_.daemon->exit_daemon();
        QVERIFY(world_.daemon->is_exiting());
        QCOMPARE(world_.lines(),
                 QStringList{QStringLiteral("=============== Exiting =================")});
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Daemon_with_nothing>(count, arguments, "no configuration");
}
#include "dbus_daemon_with_nothing.moc"
