// Power switches, ignition, lock, button, ATX and camera.

#include "ATX_interface.h"
#include "Camera_interface.h"
#include "Captured_console.h"
#include "Ignition_interface.h"
#include "Lock_interface.h"
#include "Objects.h"
#include "Power_button_interface.h"
#include "Power_interface.h"
#include "Test_daemon.h"

#include <QElapsedTimer>
#include <QSignalSpy>

using Payloads = QVector<QByteArray>;

class Power_objects : public QObject {
    Q_OBJECT
public:
    explicit Power_objects(Test_daemon& world) : world_(world) {}

private:
    Test_daemon& world_;

    Power_interface& make_switch(int kind, const char* power_name = nullptr)
    {
        auto* made = new Power_interface(world_.daemon, QStringLiteral("power"), kind, power_name);
        world_.clear();
        return *made;
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
            QVERIFY(world_.link->sent.isEmpty());
            QVERIFY(world_.root.systemctl_calls().isEmpty());
            QCOMPARE(changed.count(), 0);
        }
    }

    void backlight_is_switched_twice_each_time()
    {
        auto& power = make_switch(3);
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(output_of(power, &Power_interface::suspend, 5), 0);
        QVERIFY(clock.nsecsElapsed() >= 300000);
        QVERIFY(is_suspended(power));
        power.resume();
        power.resume(); // already on
        QCOMPARE(world_.link->sent,
                 (Payloads{"0b00fe0000000000", "0b00fe0000000000", "0b01fe0000000000",
                           "0b01fe0000000000", "0b01fe0000000000", "0b01fe0000000000"}));
        QCOMPARE(world_.lines(), (QStringList{QStringLiteral("Display backlight => OFF"),
                                              QStringLiteral("Display backlight => ON"),
                                              QStringLiteral("Display backlight => ON")}));
        QVERIFY(world_.root.systemctl_calls().isEmpty());
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
        QVERIFY(world_.link->sent.isEmpty());
    }

    void power_switch_uses_no_message()
    {
        auto& power = make_switch(3);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(power, "0c01fe0000000000"));
        QCOMPARE(errors.text(), QByteArray("Unhandled id=12 len=8\n"));
    }

    void ignition_is_on_until_told_otherwise()
    {
        auto* ignition = new Ignition_interface(world_.daemon, QStringLiteral("i"));
        QSignalSpy changed(ignition, &Ignition_interface::changed);
        QVERIFY(output_of(*ignition, &Ignition_interface::is_on));
        QCOMPARE(output_of(*ignition, &Ignition_interface::get_mode), uchar{255});
        QVERIFY(offer(*ignition, "0601000001000000")); // on, as it was
        QVERIFY(offer(*ignition, "06010000ff000000"));
        QCOMPARE(changed.count(), 0);
        QVERIFY(offer(*ignition, "06030000000000ff"));
        QVERIFY(!output_of(*ignition, &Ignition_interface::is_on, true));
        QCOMPARE(output_of(*ignition, &Ignition_interface::get_mode), uchar{3});
        QVERIFY(offer(*ignition, "0604ffff00ffffff"));
        QCOMPARE(output_of(*ignition, &Ignition_interface::get_mode), uchar{4}); // changed or not
        QVERIFY(offer(*ignition, "0604000080"));
        QCOMPARE(seen(changed), (QList<QVariantList>{{false}, {true}}));
        QVERIFY(world_.lines().isEmpty()); // nothing reaches the power states
    }

    void ignition_has_its_state_before_it_signals()
    {
        auto* ignition = new Ignition_interface(world_.daemon, QStringLiteral("i"));
        QSignalSpy changed(ignition, &Ignition_interface::changed);
        connect(ignition, &Ignition_interface::changed, this, [ignition](bool on) {
            QCOMPARE(output_of(*ignition, &Ignition_interface::is_on, !on), on);
            QCOMPARE(output_of(*ignition, &Ignition_interface::get_mode), uchar{3});
        });
        QVERIFY(offer(*ignition, "0603000000"));
        QCOMPARE(changed.count(), 1);
    }

    void ignition_refuses_other_messages()
    {
        auto* ignition = new Ignition_interface(world_.daemon, QStringLiteral("i"));
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(*ignition, "1001000000000000"));
        QVERIFY(!offer(*ignition, "06010000"));
        QCOMPARE(output_of(*ignition, &Ignition_interface::get_mode), uchar{255});
        QCOMPARE(errors.text(), QByteArray("Unhandled id=16 len=8\nUnhandled id=6 len=4\n"));
    }

    void lock_says_that_it_is_none()
    {
        auto* lock = new Lock_interface(world_.daemon, QStringLiteral("l"));
        QSignalSpy changed(lock, &Lock_interface::changed);
        Captured_descriptor output(STDOUT_FILENO);
        lock->set_hold(true);
        lock->set_hold(false);
        lock->hold();
        lock->release();
        const QByteArray setting = "not implemented src/interfaces/Lock_interface:27\n";
        QCOMPARE(output.text(), setting.repeated(4));
        QVERIFY(output_of(*lock, &Lock_interface::is_hold, true)); // not written
        QVERIFY(!output_of(*lock, &Lock_interface::is_hold, false));
        const QByteArray asking = "not implemented src/interfaces/Lock_interface:32\n";
        QCOMPARE(output.text(), setting.repeated(4) + asking.repeated(2));
        QCOMPARE(changed.count(), 0);
    }

    void button_reports_a_press_as_1()
    {
        auto* button = new Power_button_interface(world_.daemon, QStringLiteral("b"));
        QSignalSpy pressed(button, &Power_button_interface::short_press);
        const Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(offer(*button, "1c00ffffffffffff"));
        QCOMPARE(pressed.count(), 0);
        QVERIFY(offer(*button, "1c01"));
        QVERIFY(offer(*button, "1cff000000000000"));
        QCOMPARE(seen(pressed), (QList<QVariantList>{{1}, {1}}));
        QVERIFY(!offer(*button, "1c"));
        QVERIFY(!offer(*button, "1b01"));
        QCOMPARE(pressed.count(), 2);
    }

    void atx_acknowledges_and_is_acknowledged()
    {
        auto* atx = new ATX_interface(world_.daemon, QStringLiteral("atx"));
        QSignalSpy received(atx, &ATX_interface::received);
        const Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(world_.link->sent.isEmpty());
        atx->send_ack();
        QCOMPARE(world_.link->sent, Payloads{"3f00000000000000"});
        QCOMPARE(world_.lines(), QStringList{QStringLiteral("ATX acknowledge sent")});
        QVERIFY(offer(*atx, "40"));
        QCOMPARE(received.count(), 1);
        QCOMPARE(world_.lines().last(), QStringLiteral("ATX acknowledge received"));
        QVERIFY(!offer(*atx, "3f00000000000000"));
        QVERIFY(!offer(*atx, ""));
        QCOMPARE(received.count(), 1);
    }

    void atx_is_logged_behind_what_it_does()
    {
        auto* atx = new ATX_interface(world_.daemon, QStringLiteral("atx"));
        QList<int> logged;
        const auto note = [this, &logged] {
            world_.log.settle();
            logged.append(static_cast<int>(world_.log.lines().size()));
        };
        connect(atx, &ATX_interface::received, this, note);
        world_.link->before_sending = note;
        atx->send_ack();
        world_.link->before_sending = nullptr;
        offer(*atx, "40");
        QCOMPARE(logged, (QList<int>{0, 1}));
    }

    void camera_takes_every_call_and_does_nothing()
    {
        auto* camera = new Camera_interface(world_.daemon, QStringLiteral("c"));
        QSignalSpy changed(camera, &Camera_interface::changed);
        QSignalSpy connection(camera, &Camera_interface::connection);
        Captured_descriptor output(STDOUT_FILENO);
        camera->media_changed(QStringLiteral("/media/usb0"));
        camera->switch_channel(4294967295U);
        camera->scan_channels(QStringLiteral("1,2"), 5);
        camera->request4(1, 2, 3, 4);
        camera->request5(1, 2, 3, 4, 5);
        camera->request6(1, 2, 3, 4, 5, 6);
        QVERIFY(!output_of(*camera, &Camera_interface::is_connected, true));
        QVERIFY(output.text().isEmpty());
        QVERIFY(world_.link->sent.isEmpty());
        QCOMPARE(changed.count() + connection.count(), 0);
    }

    void camera_port_stays_closed()
    {
        Camera_port_interface port;
        QCOMPARE(port.packet_length(), 0U);
        QCOMPARE(port.handle(), -1);
        QVERIFY(!port.isOpen());
    }
};

int main(int count, char** arguments)
{
    const auto state = [](const QByteArray& name, const QByteArray& on) {
        QByteArray element = "<state name=\"" + name + "\">";
        for (const char device : QByteArray("abcd"))
            element += QByteArray("<device name=\"") + device + "\">" +
                       (on.contains(device) ? "on" : "off") + "</device>";
        return element + "</state>";
    };
    return run_with_daemon<Power_objects>(count, arguments,
                                          "<power>" + state("on", "a") + state("low-power", "b") +
                                              state("sleep", "c") + "</power>");
}
#include "power_objects.moc"
