// The power configuration, the switch to "on", and the power objects.

#include "Terminal.h"

#include <csignal>

class Power : public QObject {
    Q_OBJECT

private:
    /// The thirteen switches in their order of creation, with their power names.
    static QList<QPair<QString, QString>> switches()
    {
        return {
            {QStringLiteral("device/system/power"), QStringLiteral("system")},
            {QStringLiteral("device/lvds/power"), QStringLiteral("display")},
            {QStringLiteral("device/display/power"), QStringLiteral("display")},
            {QStringLiteral("device/display/backlight/power"), QStringLiteral("display")},
            {QStringLiteral("device/can/0/power"), QStringLiteral("can_1")},
            {QStringLiteral("device/can/1/power"), QStringLiteral("can_2")},
            {QStringLiteral("device/can/2/power"), QStringLiteral("can_3")},
            {QStringLiteral("device/can/3/power"), QStringLiteral("can_4")},
            {QStringLiteral("device/eth/power"), QStringLiteral("eth")},
            {QStringLiteral("device/video/power"), QStringLiteral("video")},
            {QStringLiteral("device/camera/power"), QStringLiteral("camera")},
            {QStringLiteral("device/uart/power"), QStringLiteral("uart_1")},
            {QStringLiteral("device/usb/power"), QStringLiteral("usb_1")},
        };
    }

    static QStringList power_lines(const Terminal& terminal)
    {
        return terminal.log.lines().filter(QStringLiteral("PWR:"));
    }

    static QList<bool> suspended(Terminal& terminal)
    {
        QList<bool> states;
        for (const auto& power_switch : switches())
            states.append(
                terminal.get(power_switch.first, QStringLiteral("is_suspended")).toBool());
        return states;
    }

    /// A terminal that runs with a power configuration.
    static void start_with(Terminal& terminal, const QByteArray& configuration)
    {
        terminal.root.write(QStringLiteral("etc/power_manage.conf"), configuration);
        terminal.start();
    }

private Q_SLOTS:
    void masks_are_logged_for_each_switch_in_order()
    {
        Terminal terminal;
        start_with(terminal, R"(<?xml version="1.0"?><!DOCTYPE power><!-- example -->
<power><state name="on"><param name="timeout">-1</param><device name="system">on</device>
  <device name="display">on</device><device name="camera">on</device></state>
<state name="low-power"><param name="timeout">90</param><device name="system">on</device>
  <device name="display">off</device><device name="camera">off</device></state>
<state name="sleep"><param name="timeout">50</param><device name="system">off</device>
  <device name="display">off</device></state></power>)");
        QStringList expected;
        for (const auto& power_switch : switches()) {
            QString mask = QStringLiteral("on=T low-power=T sleep=T  7");
            if (power_switch.second == QLatin1String("system"))
                mask = QStringLiteral("on=T low-power=T sleep=F  3");
            if (power_switch.second == QLatin1String("display"))
                mask = QStringLiteral("on=T low-power=F sleep=F  1");
            if (power_switch.second == QLatin1String("camera"))
                mask = QStringLiteral("on=T low-power=F sleep=T  5");
            expected.append(QStringLiteral("PWR:%1 for /com/quorin/system/%2:%3")
                                .arg(mask, power_switch.first, power_switch.second));
        }
        QCOMPARE(power_lines(terminal), expected);
        QCOMPARE_CONTAINS(terminal.log.lines(), QLatin1String("Timeout for low-power is 90"));
        QCOMPARE_CONTAINS(terminal.log.lines(), QLatin1String("Timeout for sleep is 50"));
        QCOMPARE_EMPTY(terminal.root.systemctl_calls());
        QCOMPARE_LACKS(suspended(terminal), true);
        QCOMPARE(terminal.log.lines().filter(QStringLiteral(" => ")),
                 (QStringList{QStringLiteral("System => ON"),
                              QStringLiteral("Display backlight => ON")}));
        QCOMPARE(terminal.controller.payloads().count(QStringLiteral("0b 01 fe 00 00 00 00 00")),
                 2);
    }

    void devices_off_in_on_are_suspended_at_start()
    {
        Terminal terminal;
        start_with(terminal, R"(<power><state name="on"><device name="display">off</device>
<device name="can_2">off</device></state></power>)");
        QCOMPARE(suspended(terminal), (QList<bool>{false, true, true, true, false, true, false,
                                                   false, false, false, false, false, false}));
        QCOMPARE_CONTAINS(terminal.log.lines(), QLatin1String("Display backlight => OFF"));
        QCOMPARE(terminal.controller.payloads().count(QStringLiteral("0b 00 fe 00 00 00 00 00")),
                 2);
    }

    void entries_that_are_not_understood_count_as_on_and_are_printed()
    {
        Terminal terminal;
        start_with(terminal, R"(<power><state name="on"><device name="system"> on</device>
<device name="display">ON</device><param name="timeout">abc</param></state>
<state name="low-power"/><state name="low-power"><device name="display">off</device></state>
</power>)");
        const QByteArray text = terminal.daemon.output();
        QCOMPARE_CONTAINS(text, "NOT FOUND Text:  on\n");
        QCOMPARE_CONTAINS(text, "NOT FOUND Text: ON\n");
        QCOMPARE_CONTAINS(text, "NOT FOUND Text: abc\n");
        QCOMPARE_CONTAINS(terminal.log.lines(), QLatin1String("Timeout for on is -1"));
        QCOMPARE_CONTAINS(terminal.log.lines(), QLatin1String("Timeout for low-power is 100"));
        // The second "low-power" is never looked at.
        QCOMPARE_STARTS(power_lines(terminal)[2],
                        QLatin1String("PWR:on=T low-power=T sleep=T  7 for "));
    }

    void no_usable_configuration_switches_the_terminal_off_data()
    {
        QTest::addColumn<QByteArray>("configuration");
        QTest::newRow("missing") << QByteArray();
        QTest::newRow("not well-formed") << QByteArray("<power>");
        QTest::newRow("other root") << QByteArray("<PowerCntlML/>");
        QTest::newRow("binary") << QByteArray("\x7f\x45\x4c\x46\x02\x00\x01", 7);
    }
    void no_usable_configuration_switches_the_terminal_off()
    {
        QFETCH(QByteArray, configuration);
        Terminal terminal;
        if (configuration.isEmpty()) {
            terminal.root.remove(QStringLiteral("etc/power_manage.conf"));
            terminal.start();
        } else {
            start_with(terminal, configuration);
        }
        QCOMPARE_EMPTY(power_lines(terminal));
        QCOMPARE_EMPTY(terminal.log.lines().filter(QStringLiteral("Timeout for")));
        QCOMPARE_LACKS(terminal.daemon.output(), "NOT FOUND");
        QCOMPARE_LACKS(suspended(terminal), false);
        QCOMPARE_CONTAINS(terminal.log.lines(), QLatin1String("System => OFF"));
        QCOMPARE(terminal.root.systemctl_calls(),
                 QStringList{QStringLiteral("poweroff --no-block")});
    }

    void time_out_of_on_is_logged_once_and_changes_nothing_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("0") << QByteArray("0");
        QTest::newRow("1 s") << QByteArray(" 1s");
    }
    void time_out_of_on_is_logged_once_and_changes_nothing()
    {
        QFETCH(QByteArray, text);
        Terminal terminal;
        start_with(terminal, "<power><state name=\"on\"><param name=\"timeout\">" + text +
                                 "</param></state></power>");
        QVERIFY(wait_for(
            [&] { return terminal.log.lines().contains(QLatin1String("Timeout in state on")); }));
        terminal.settle();
        QCOMPARE(terminal.log.lines().count(QStringLiteral("Timeout in state on")), 1);
        QCOMPARE(terminal.log.lines().filter(QStringLiteral("Switching power state")).size(), 1);
    }

    void suspend_of_the_system_switches_the_terminal_off()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        const QString path = QStringLiteral("device/system/power");
        QCOMPARE(terminal.get(path, QStringLiteral("suspend")), QVariant(0));
        QCOMPARE(terminal.log.lines(), QStringList{QStringLiteral("System => OFF")});
        QCOMPARE(terminal.root.systemctl_calls(),
                 QStringList{QStringLiteral("poweroff --no-block")});
        QVERIFY(terminal.get(path, QStringLiteral("is_suspended")).toBool());
        terminal.call(path, QStringLiteral("suspend"));
        QCOMPARE(terminal.root.systemctl_calls().size(), 2);
        terminal.call(path, QStringLiteral("resume"));
        QCOMPARE(terminal.root.systemctl_calls().size(), 2);
        QVERIFY(
            wait_for([&] { return terminal.log.lines().contains(QLatin1String("System => ON")); }));
        QCOMPARE_EMPTY(terminal.controller.payloads().filter(QStringLiteral("0b ")));
        QCOMPARE_EMPTY(terminal.seen_signals());
    }

    void resume_of_the_backlight_sends_two_commands_each_time()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        const QString path = QStringLiteral("device/display/backlight/power");
        terminal.call(path, QStringLiteral("resume"));
        terminal.call(path, QStringLiteral("suspend"));
        WAIT_UNTIL(terminal.requests().size(), >=, 4);
        const QString on = QStringLiteral("0b 01 fe 00 00 00 00 00");
        const QString off = QStringLiteral("0b 00 fe 00 00 00 00 00");
        QCOMPARE(terminal.requests().mid(0, 4), (QStringList{on, on, off, off}));
        QCOMPARE(terminal.log.lines(), (QStringList{QStringLiteral("Display backlight => ON"),
                                                    QStringLiteral("Display backlight => OFF")}));
    }

    void suspend_of_the_others_only_sets_the_flag()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        for (const auto& power_switch : switches()) {
            if (power_switch.second == QLatin1String("system") ||
                power_switch.first == QLatin1String("device/display/backlight/power"))
                continue;
            terminal.call(power_switch.first, QStringLiteral("suspend"));
            QVERIFY(terminal.get(power_switch.first, QStringLiteral("is_suspended")).toBool());
            terminal.call(power_switch.first, QStringLiteral("resume"));
            QVERIFY(!terminal.get(power_switch.first, QStringLiteral("is_suspended")).toBool());
        }
        terminal.settle();
        QCOMPARE_EMPTY(terminal.log.lines());
        QCOMPARE_EMPTY(terminal.root.systemctl_calls());
        QCOMPARE_LACKS(terminal.controller.payloads().join(QString()), QLatin1String("0b "));
    }

    void ignition_follows_byte_4_and_keeps_byte_1()
    {
        Terminal terminal;
        terminal.controller.ignore(0x05);
        terminal.start();
        terminal.clear();
        const QString path = QStringLiteral("power/ignition");
        QVERIFY(terminal.get(path, QStringLiteral("is_on")).toBool());
        QCOMPARE(terminal.get(path, QStringLiteral("get_mode")).toInt(), 255);
        terminal.send("0601000001");
        QCOMPARE_EMPTY(terminal.seen_signals()); // it was on
        terminal.send("0603000000");
        terminal.send("0604000000");
        terminal.send("06040000ff");
        QCOMPARE(terminal.seen_signals(),
                 (QList<Terminal::Signal>{{path, QStringLiteral("changed"), {false}},
                                          {path, QStringLiteral("changed"), {true}}}));
        QCOMPARE(terminal.get(path, QStringLiteral("get_mode")).toInt(), 4);
        QCOMPARE_EMPTY(terminal.log.lines()); // the power state does not follow
    }

    void lock_is_not_implemented()
    {
        Terminal terminal;
        terminal.start();
        const QString path = QStringLiteral("power/lock");
        const QByteArray line_27 = "not implemented src/interfaces/Lock_interface:27\n";
        const QByteArray line_32 = "not implemented src/interfaces/Lock_interface:32\n";
        terminal.clear();
        terminal.call(path, QStringLiteral("set_hold"), {true});
        terminal.call(path, QStringLiteral("hold"));
        terminal.call(path, QStringLiteral("release"));
        QCOMPARE(terminal.get(path, QStringLiteral("is_hold")), QVariant(false));
        QCOMPARE(terminal.output(), line_27 + line_27 + line_27 + line_32);
    }

    void power_button_signals_a_press_that_is_not_0()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        terminal.send("1c00");
        QCOMPARE_EMPTY(terminal.seen_signals());
        terminal.send("1c02");
        QCOMPARE(terminal.seen_signals(),
                 (QList<Terminal::Signal>{
                     {QStringLiteral("power/button"), QStringLiteral("short_press"), {1}}}));
    }

    void atx_acknowledges_both_ways()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        terminal.controller.ignore(0x3f);
        terminal.call(QStringLiteral("atx"), QStringLiteral("send_ack"));
        QVERIFY(wait_for([&] { return terminal.controller.has_received("3f"); }));
        terminal.send("40");
        QCOMPARE(
            terminal.seen_signals(),
            (QList<Terminal::Signal>{{QStringLiteral("atx"), QStringLiteral("received"), {}}}));
        QCOMPARE(terminal.log.lines(), (QStringList{QStringLiteral("ATX acknowledge sent"),
                                                    QStringLiteral("ATX acknowledge received")}));
    }
};

QTEST_GUILESS_MAIN(Power)
#include "power.moc"
