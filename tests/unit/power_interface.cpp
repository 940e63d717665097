// The power switches: their masks, and what switching one does.

#include "Power_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

#include <QElapsedTimer>
#include <QSignalSpy>

class Power_switch : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private:
    Power_interface& make_switch(int kind, const char* power_name = nullptr)
    {
        return make<Power_interface>(kind, power_name);
    }

    static bool is_suspended(Power_interface& power)
    {
        return output_of(power, &Power_interface::is_suspended);
    }

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void masks_data()
    {
        QTest::addColumn<QByteArray>("power_name");
        QTest::addColumn<QString>("line");
        QTest::addColumn<QList<bool>>("suspended");
        const auto row = [](const char* name, const char* line, bool on, bool low_power,
                            bool sleep) {
            QTest::newRow(name) << QByteArray(name) << QString::fromLatin1(line)
                                << QList<bool>{on, low_power, sleep};
        };
        row("a", "PWR:on=T low-power=F sleep=F  1 for /com/quorin/system/power:a", false, true,
            true);
        row("b", "PWR:on=F low-power=T sleep=F  2 for /com/quorin/system/power:b", true, false,
            true);
        row("c", "PWR:on=F low-power=F sleep=T  4 for /com/quorin/system/power:c", true, true,
            false);
        row("d", "PWR:on=F low-power=F sleep=F  0 for /com/quorin/system/power:d", true, true,
            true);
        row("absent", "PWR:on=T low-power=T sleep=T  7 for /com/quorin/system/power:absent", false,
            false, false);
    }
    void masks()
    {
        QFETCH(QByteArray, power_name);
        QFETCH(QString, line);
        QFETCH(QList<bool>, suspended);
        const Captured_descriptor output(STDOUT_FILENO);
        auto* power =
            new Power_interface(world_.daemon, QStringLiteral("power"), 5, power_name.constData());
        QCOMPARE(world_.lines(), QStringList{line});
        QVERIFY(!is_suspended(*power));
        for (int state = 0; state < 3; ++state) {
            power->power_state_changed(state);
            QCOMPARE(is_suspended(*power), suspended[state]);
        }
        for (const int none : {-1, 3, 8, 31, 32, 64, 2147483647}) {
            power->resume();
            power->power_state_changed(none);
            QVERIFY(is_suspended(*power));
        }
    }

    void mask_decides_in_every_state()
    {
        auto* object = new Power_interface(world_.daemon, QStringLiteral("p"), 9, "video");
        QCOMPARE(world_.lines().last(),
                 QStringLiteral("PWR:on=T low-power=F sleep=T  5 for /com/quorin/system/p:video"));
        for (const auto& [state, suspended] :
             {std::pair{0, false}, {1, true}, {2, false}, {3, true}, {-1, true}}) {
            object->power_state_changed(state);
            bool is_suspended = !suspended;
            object->is_suspended(is_suspended);
            QCOMPARE(is_suspended, suspended);
        }
    }

    void object_without_a_power_name_is_off_in_every_state()
    {
        auto& power = make_switch(5);
        for (int state = 0; state < 3; ++state) {
            power.resume();
            power.power_state_changed(state);
            QVERIFY(is_suspended(power));
        }
    }

    void kinds_without_an_action_keep_the_flag_alone()
    {
        for (const int kind : {1, 2, 4, 5, 6, 7, 8, 9, 10, 11, 12}) {
            auto& power = make_switch(kind);
            QSignalSpy changed(&power, &Power_interface::suspend_changed);
            QCOMPARE(output_of(power, &Power_interface::suspend, 5), 0);
            QVERIFY(is_suspended(power));
            power.resume();
            QVERIFY(!is_suspended(power));
            QCOMPARE(world_.lines(), QStringList());
            QCOMPARE_EMPTY(world_.link->sent);
            QCOMPARE_EMPTY(world_.root.systemctl_calls());
            QCOMPARE(changed.count(), 0);
        }
    }

    void backlight_is_switched_twice_each_time()
    {
        auto& power = make_switch(3);
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(output_of(power, &Power_interface::suspend, 5), 0);
        QCOMPARE_GE(clock.nsecsElapsed(), 300000);
        QVERIFY(is_suspended(power));
        power.resume();
        power.resume(); // already on
        QCOMPARE(world_.link->sent,
                 (Payloads{"0b00fe0000000000", "0b00fe0000000000", "0b01fe0000000000",
                           "0b01fe0000000000", "0b01fe0000000000", "0b01fe0000000000"}));
        QCOMPARE(world_.lines(), (QStringList{QStringLiteral("Display backlight => OFF"),
                                              QStringLiteral("Display backlight => ON"),
                                              QStringLiteral("Display backlight => ON")}));
        QCOMPARE_EMPTY(world_.root.systemctl_calls());
    }

    void backlight_is_logged_before_it_is_commanded()
    {
        auto& power = make_switch(3);
        QList<int> logged;
        world_.link->before_sending = [this, &logged] {
            world_.log.settle();
            logged.append(static_cast<int>(world_.log.lines().size()));
        };
        power.resume();
        world_.link->before_sending = nullptr;
        QCOMPARE(logged, (QList<int>{1, 1}));
    }

    void system_is_switched_off_each_time()
    {
        auto& power = make_switch(0);
        QCOMPARE(output_of(power, &Power_interface::suspend, 5), 0);
        QCOMPARE(world_.root.systemctl_calls(), QStringList{QStringLiteral("poweroff --no-block")});
        power.resume();
        QCOMPARE(world_.root.systemctl_calls().size(), 1);
        power.power_state_changed(0);
        QCOMPARE(world_.root.systemctl_calls().size(), 2);
        QCOMPARE(world_.lines(),
                 (QStringList{QStringLiteral("System => OFF"), QStringLiteral("System => ON"),
                              QStringLiteral("System => OFF")}));
        QCOMPARE_EMPTY(world_.link->sent);
    }

    void uses_no_message()
    {
        auto& power = make_switch(3);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(power, "0c01fe0000000000"));
        QCOMPARE(errors.text(), QByteArray("Unhandled id=12 len=8\n"));
    }
};

int main(int count, char** arguments)
{
    const auto state = [](const QByteArray& name, const QByteArray& on) {
        QByteArray element = "<state name=\"" + name + "\">";
        for (const char device : QByteArray("abcd"))
            element += QByteArray("<device name=\"") + device + "\">" +
                       (on.contains(device) ? "on" : "off") + "</device>";
        if (name == "low-power") // and nothing of it in the others
            element += "<device name=\"video\">off</device>";
        return element + "</state>";
    };
    return run_with_daemon<Power_switch>(count, arguments,
                                         "<power>" + state("on", "a") + state("low-power", "b") +
                                             state("sleep", "c") + "</power>");
}
#include "power_interface.moc"
