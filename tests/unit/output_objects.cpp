// The outputs: switched, frequency, supply voltage, display and buzzer.

#include "Buzzer_interface.h"
#include "Captured_console.h"
#include "Digital_output_interface.h"
#include "Dimmable_interface.h"
#include "LCD_backlight_interface.h"
#include "Objects.h"
#include "Operating_voltage_interface.h"
#include "Radar_output_interface.h"
#include "Test_daemon.h"

#include <QFile>
#include <QSignalSpy>

#include <cmath>

using Payloads = QVector<QByteArray>;

class Output_objects : public QObject {
    Q_OBJECT
public:
    explicit Output_objects(Test_daemon& world) : world_(world) {}

private:
    Test_daemon& world_;

    /// An object of the given kind, which the daemon owns; what it sends from then on counts.
    template <class Object, class... More>
    Object& make(More... more)
    {
        const Captured_descriptor output(STDOUT_FILENO);
        auto* object = new Object(world_.daemon, QStringLiteral("output"), more...);
        world_.clear();
        return *object;
    }

    static QPair<bool, bool> state_of(Digital_output_interface& output)
    {
        return {output_of(output, &Digital_output_interface::is_on),
                output_of(output, &Digital_output_interface::is_enabled)};
    }

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void digital_output_is_commanded_off_when_it_is_made_data()
    {
        QTest::addColumn<uint>("channel");
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("0") << 0U << QByteArray("3301010000000000")
                           << QByteArray("DOUTRAW: 33 01 01 00 00 00 00 00 \n");
        QTest::newRow("1") << 1U << QByteArray("3304040000000000")
                           << QByteArray("DOUTRAW: 33 04 04 00 00 00 00 00 \n");
        QTest::newRow("2") << 2U << QByteArray("3310100000000000")
                           << QByteArray("DOUTRAW: 33 10 10 00 00 00 00 00 \n");
        QTest::newRow("3") << 3U << QByteArray("3340400000000000")
                           << QByteArray("DOUTRAW: 33 40 40 00 00 00 00 00 \n");
    }
    void digital_output_is_commanded_off_when_it_is_made()
    {
        QFETCH(uint, channel);
        QFETCH(QByteArray, command);
        Captured_descriptor output(STDOUT_FILENO);
        auto* made = new Digital_output_interface(world_.daemon, QStringLiteral("d"), channel);
        QCOMPARE(world_.link->sent, Payloads{command});
        QTEST(output.text(), "text");
        QCOMPARE(state_of(*made), qMakePair(false, true));
    }

    void digital_output_commands_data()
    {
        QTest::addColumn<uint>("channel");
        QTest::addColumn<bool>("value");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<QByteArray>("command");
        QTest::newRow("0 off") << 0U << false << true << QByteArray("3301010000000000");
        QTest::newRow("0 on") << 0U << true << true << QByteArray("3302020000000000");
        QTest::newRow("0 disabled") << 0U << true << false << QByteArray("3303030000000000");
        QTest::newRow("1 on") << 1U << true << true << QByteArray("3308080000000000");
        QTest::newRow("2 off") << 2U << false << true << QByteArray("3310100000000000");
        QTest::newRow("2 disabled") << 2U << false << false << QByteArray("3330300000000000");
        QTest::newRow("3 off") << 3U << false << true << QByteArray("3340400000000000");
        QTest::newRow("3 on") << 3U << true << true << QByteArray("3380800000000000");
        QTest::newRow("3 disabled") << 3U << true << false << QByteArray("33c0c00000000000");
    }
    void digital_output_commands()
    {
        QFETCH(uint, channel);
        QFETCH(bool, value);
        QFETCH(bool, enabled);
        QFETCH(QByteArray, command);
        auto& made = make<Digital_output_interface>(channel);
        const Captured_descriptor output(STDOUT_FILENO);
        made.set(value, enabled);
        QCOMPARE(world_.link->sent, Payloads{command});
        QCOMPARE(state_of(made), qMakePair(value, enabled));
    }

    void digital_output_methods_keep_what_they_do_not_set()
    {
        auto& made = make<Digital_output_interface>(0U);
        QSignalSpy changed(&made, &Digital_output_interface::changed);
        const Captured_descriptor output(STDOUT_FILENO);
        made.on();
        QCOMPARE(state_of(made), qMakePair(true, true));
        made.disable();
        QCOMPARE(state_of(made), qMakePair(true, false));
        made.off();
        QCOMPARE(state_of(made), qMakePair(false, false));
        made.on();
        QCOMPARE(state_of(made), qMakePair(true, false));
        made.enable();
        QCOMPARE(state_of(made), qMakePair(true, true));
        made.off();
        QCOMPARE(state_of(made), qMakePair(false, true));
        QCOMPARE(world_.link->sent,
                 (Payloads{"3302020000000000", "3303030000000000", "3303030000000000",
                           "3303030000000000", "3302020000000000", "3301010000000000"}));
        QCOMPARE(changed.count(), 0);
    }

    /// Every command is sent, then printed, then remembered.
    void commands_leave_before_they_are_printed_and_remembered()
    {
        auto& digital = make<Digital_output_interface>(0U);
        auto& frequency = make<Radar_output_interface>();
        auto& voltage = make<Operating_voltage_interface>();
        auto& backlight = make<LCD_backlight_interface>();
        Captured_descriptor output(STDOUT_FILENO);
        QList<int> lines;
        world_.link->before_sending = [&] {
            lines.append(static_cast<int>(output.text().count('\n')));
            QCOMPARE(state_of(digital), qMakePair(lines.size() > 1, true));
            QCOMPARE(output_of(voltage, &Operating_voltage_interface::get_operating_voltage), 0U);
            QCOMPARE(output_of(backlight, &Dimmable_interface::get_brightness), 100.0);
        };
        digital.on();
        frequency.set(1);
        voltage.set_operating_voltage(2);
        world_.link->before_sending = nullptr;
        QCOMPARE(lines, (QList<int>{0, 1, 2}));
    }

    void digital_output_reports_data()
    {
        QTest::addColumn<uint>("channel");
        QTest::addColumn<bool>("before");
        QTest::addColumn<QByteArray>("report");
        QTest::addColumn<bool>("value");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("0 off") << 0U << true << QByteArray("34ff01") << false << true;
        QTest::newRow("0 on") << 0U << false << QByteArray("34ff02") << true << true;
        QTest::newRow("0 disabled keeps on") << 0U << true << QByteArray("34ff03") << true << false;
        QTest::newRow("0 disabled keeps off")
            << 0U << false << QByteArray("34ff03") << false << false;
        QTest::newRow("0 says nothing") << 0U << true << QByteArray("34fffc") << true << true;
        QTest::newRow("1 on") << 1U << false << QByteArray("340008") << true << true;
        QTest::newRow("2 on") << 2U << false << QByteArray("340020") << true << true;
        QTest::newRow("3 on") << 3U << false << QByteArray("340080") << true << true;
        QTest::newRow("3 off") << 3U << true << QByteArray("34ff7f") << false << true;
        QTest::newRow("3 says nothing") << 3U << true << QByteArray("34ff3f") << true << true;
    }
    void digital_output_reports()
    {
        QFETCH(uint, channel);
        QFETCH(bool, before);
        QFETCH(QByteArray, report);
        QFETCH(bool, value);
        QFETCH(bool, enabled);
        auto& made = make<Digital_output_interface>(channel);
        const Captured_descriptor output(STDOUT_FILENO);
        made.set(before, true);
        world_.clear();
        QVERIFY(offer(made, report));
        QCOMPARE(state_of(made), qMakePair(value, enabled));
        QVERIFY(world_.link->sent.isEmpty());
    }

    void reported_output_is_enabled_again()
    {
        auto& made = make<Digital_output_interface>(1U);
        const Captured_descriptor output(STDOUT_FILENO);
        made.set(true, false);
        QVERIFY(offer(made, "340004"));
        QCOMPARE(state_of(made), qMakePair(false, true));
    }

    void digital_output_refuses_other_messages()
    {
        auto& made = make<Digital_output_interface>(0U);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(made, "33020202"));
        QVERIFY(!offer(made, "3402"));
        QCOMPARE(state_of(made), qMakePair(false, true));
        QCOMPARE(errors.text(), QByteArray("Unhandled id=51 len=4\nUnhandled id=52 len=2\n"));
    }

    void frequency_output_starts_at_0()
    {
        Captured_descriptor output(STDOUT_FILENO);
        new Radar_output_interface(world_.daemon, QStringLiteral("f"));
        QCOMPARE(world_.link->sent, Payloads{"2901000000000000"});
        QCOMPARE(output.text(), QByteArray("RADARREQRAW: 29 01 00 00 00 00 00 00 \n"));
    }

    void frequency_output_sends_16_bits()
    {
        auto& made = make<Radar_output_interface>();
        QSignalSpy changed(&made, &Radar_output_interface::changed);
        Captured_descriptor output(STDOUT_FILENO);
        QCOMPARE(made.value(), 0U);
        made.set(0x12345);
        QCOMPARE(made.value(), 0x12345U);
        made.set(4294967295U);
        QCOMPARE(world_.link->sent, (Payloads{"2901234500000000", "2901ffff00000000"}));
        QCOMPARE(output.text(), QByteArray("RADARREQRAW: 29 01 23 45 00 00 00 00 \n"
                                           "RADARREQRAW: 29 01 ff ff 00 00 00 00 \n"));
        QCOMPARE(changed.count(), 0);
    }

    void frequency_output_accepts_its_report_alone()
    {
        auto& made = make<Radar_output_interface>();
        Captured_descriptor both(STDERR_FILENO);
        QVERIFY(offer(made, "2a00000000000000"));
        QVERIFY(offer(made, "2a"));
        QVERIFY(!offer(made, "2900000000000000"));
        QCOMPARE(both.text(), QByteArray("Unhandled id=41 len=8\n"));
    }

    void operating_voltage_sends_the_low_byte_and_keeps_all()
    {
        auto& made = make<Operating_voltage_interface>();
        QCOMPARE(output_of(made, &Operating_voltage_interface::get_operating_voltage, 1U), 0U);
        Captured_descriptor output(STDOUT_FILENO);
        made.set_operating_voltage(300);
        QCOMPARE(output_of(made, &Operating_voltage_interface::get_operating_voltage), 300U);
        made.set_operating_voltage(4294967295U);
        QCOMPARE(output_of(made, &Operating_voltage_interface::get_operating_voltage), 4294967295U);
        QCOMPARE(world_.link->sent, (Payloads{"0d2c000000000000", "0dff000000000000"}));
        QCOMPARE(output.text(), QByteArray("OPVOLT SET: 0d 2c 00 00 00 00 00 00 \n"
                                           "OPVOLT SET: 0d ff 00 00 00 00 00 00 \n"));
    }

    void operating_voltage_sends_nothing_when_it_is_made()
    {
        new Operating_voltage_interface(world_.daemon, QStringLiteral("v"));
        QVERIFY(world_.link->sent.isEmpty());
    }

    void operating_voltage_takes_its_report()
    {
        auto& made = make<Operating_voltage_interface>();
        Captured_descriptor output(STDOUT_FILENO);
        const Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(offer(made, "0eff020304050607"));
        QCOMPARE(output_of(made, &Operating_voltage_interface::get_operating_voltage), 255U);
        QCOMPARE(output.text(), QByteArray("OPVOLT IN: 0e ff 02 03 04 05 06 07 : 255\n"));
        QVERIFY(!offer(made, "0d00000000000000"));
        QVERIFY(!offer(made, "0e00000000"));
        QCOMPARE(output_of(made, &Operating_voltage_interface::get_operating_voltage), 255U);
    }

    void dimmable_cannot_be_set()
    {
        auto& made = make<Dimmable_interface>();
        QSignalSpy changed(&made, &Dimmable_interface::brightness_changed);
        Captured_descriptor output(STDOUT_FILENO);
        for (const double value : {50.0, not_a_number, -infinite})
            made.set_brightness(value);
        const QByteArray line = "LCD not implemented src/interfaces/Dimmable_interface:25\n";
        QCOMPARE(output.text(), line.repeated(3));
        QCOMPARE(output_of(made, &Dimmable_interface::get_brightness, 1.0), 0.0);
        QVERIFY(world_.link->sent.isEmpty());
        QCOMPARE(changed.count(), 0);
    }

    void backlight_is_queried_when_it_is_made()
    {
        Captured_descriptor output(STDOUT_FILENO);
        auto* made = new LCD_backlight_interface(world_.daemon, QStringLiteral("b"));
        QCOMPARE(world_.link->sent, Payloads{"31ffff0000000000"});
        QCOMPARE(output.text(), QByteArray("LCDBRIGET: 31 ff ff 00 00 00 00 00 \n"));
        QCOMPARE(output_of(*made, &Dimmable_interface::get_brightness), 100.0);
    }

    void backlight_levels_data()
    {
        QTest::addColumn<double>("brightness");
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<double>("stored");
        const auto row = [](const char* name, double brightness, const char* command,
                            double stored) {
            QTest::newRow(name) << brightness << QByteArray(command) << stored;
        };
        row("0", 0.0, "3100000000000000", 0.0);
        row("50", 50.0, "317f000000000000", 50.0);
        row("99", 99.0, "31fb000000000000", 99.0);
        row("100", 100.0, "31fe000000000000", 100.0);
        row("100.05", 100.05, "31fe7f0000000000", 100.05);
        row("100.125", 100.125, "31fefe0000000000", 100.125);
        row("0.0625", 0.0625, "31009f0000000000", 0.0625); // 62.5 thousandths
        row("30.5", 30.5, "314cfe0000000000", 30.5);
        row("101", 101.0, "31fe000000000000", 101.0);
        row("-1", -1.0, "3100000000000000", 0.0);
        row("barely negative", -5e-324, "3100000000000000", 0.0);
        row("no number", not_a_number, "3100000000000000", not_a_number);
        row("infinite", infinite, "31fe000000000000", infinite);
        row("minus infinite", -infinite, "3100000000000000", 0.0);
        row("huge", huge, "31fe000000000000", huge);
        row("minus huge", -huge, "3100000000000000", 0.0);
        row("beyond 64 bits", 1e19, "31fe000000000000", 1e19);
    }
    void backlight_levels()
    {
        QFETCH(double, brightness);
        QFETCH(QByteArray, command);
        auto& made = make<LCD_backlight_interface>();
        Captured_descriptor output(STDOUT_FILENO);
        made.set_brightness(brightness);
        QCOMPARE(world_.link->sent, Payloads{command});
        QCOMPARE(output.text(), "LCDBRISET: " + QByteArray::fromHex(command).toHex(' ') + " \n");
        QTEST(output_of(made, &Dimmable_interface::get_brightness), "stored");
    }

    void brightness_is_kept_before_it_is_sent()
    {
        auto& made = make<LCD_backlight_interface>();
        const Captured_descriptor output(STDOUT_FILENO);
        double kept = 0.0;
        world_.link->before_sending = [&made, &kept] { made.get_brightness(kept); };
        made.set_brightness(42.0);
        world_.link->before_sending = nullptr;
        QCOMPARE(kept, 42.0);
    }

    void backlight_of_minus_0_is_kept_as_given()
    {
        auto& made = make<LCD_backlight_interface>();
        const Captured_descriptor output(STDOUT_FILENO);
        made.set_brightness(-0.0);
        QVERIFY(std::signbit(output_of(made, &Dimmable_interface::get_brightness)));
    }

    void backlight_takes_its_report()
    {
        auto& made = make<LCD_backlight_interface>();
        QSignalSpy changed(&made, &Dimmable_interface::brightness_changed);
        Captured_descriptor output(STDOUT_FILENO);
        const Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(offer(made, "3200ff0000000000"));
        QCOMPARE(output_of(made, &Dimmable_interface::get_brightness), 0.0);
        QVERIFY(offer(made, "327f000000000000"));
        QCOMPARE(output_of(made, &Dimmable_interface::get_brightness), 127 * 0.3937007874015748);
        QVERIFY(offer(made, "32fe000000000000"));
        QCOMPARE(output_of(made, &Dimmable_interface::get_brightness), 254 * 0.3937007874015748);
        QCOMPARE(output.text(), QByteArray("LCDBRIIN: 32 00 ff 00 00 00 00 00 : 0.000\n"
                                           "LCDBRIIN: 32 7f 00 00 00 00 00 00 : 50.000\n"
                                           "LCDBRIIN: 32 fe 00 00 00 00 00 00 : 100.000\n"));
        QVERIFY(!offer(made, "3100000000000000"));
        QVERIFY(!offer(made, "3200000000"));
        QVERIFY(world_.link->sent.isEmpty());
        QCOMPARE(changed.count(), 0);
    }

    void buzzer_starts_silent()
    {
        Captured_descriptor output(STDOUT_FILENO);
        auto* made = new Buzzer_interface(world_.daemon, QStringLiteral("z"));
        QCOMPARE(output.text(), QByteArray("BUZ volume set to 0.000000\n"));
        QCOMPARE(output_of(*made, &Buzzer_interface::get_volume, 1.0), 0.0);
        QCOMPARE(output_of(*made, &Buzzer_interface::get_buzzer_file),
                 QStringLiteral("/etc/buzzer.wav"));
        QVERIFY(output.text().endsWith("BUZ get filename /etc/buzzer.wav\n"));
        QVERIFY(world_.link->sent.isEmpty());
    }

    void volumes_data()
    {
        QTest::addColumn<double>("volume");
        QTest::addColumn<uchar>("reported");
        QTest::newRow("3.7") << 3.7 << uchar{3};
        QTest::newRow("-0.5") << -0.5 << uchar{0};
        QTest::newRow("-1.5") << -1.5 << uchar{255};
        QTest::newRow("255.9") << 255.9 << uchar{255};
        QTest::newRow("256") << 256.0 << uchar{0};
        QTest::newRow("4294967299") << 4294967299.0 << uchar{3};
        QTest::newRow("no number") << not_a_number << uchar{0};
        QTest::newRow("infinite") << infinite << uchar{0};
        QTest::newRow("minus infinite") << -infinite << uchar{0};
        QTest::newRow("huge") << huge << uchar{0};
    }
    void volumes()
    {
        QFETCH(double, volume);
        auto& made = make<Buzzer_interface>();
        QSignalSpy changed(&made, &Buzzer_interface::volume_changed);
        Captured_descriptor output(STDOUT_FILENO);
        made.set_volume(volume);
        QCOMPARE(changed.count(), 1);
        QTEST(changed[0][0].value<uchar>(), "reported");
        const double stored = output_of(made, &Buzzer_interface::get_volume);
        QVERIFY(stored == volume || (std::isnan(stored) && std::isnan(volume)));
        QCOMPARE(output.text(), QString::asprintf("BUZ volume set to %f\n", volume).toLatin1());
    }

    void volume_is_reported_before_it_is_kept_and_printed()
    {
        auto& made = make<Buzzer_interface>();
        Captured_descriptor output(STDOUT_FILENO);
        QList<double> kept;
        QList<int> lines;
        connect(&made, &Buzzer_interface::volume_changed, this, [&] {
            kept.append(output_of(made, &Buzzer_interface::get_volume));
            lines.append(static_cast<int>(output.text().count('\n')));
        });
        made.set_volume(3.5);
        made.set_volume(4.5);
        QCOMPARE(kept, (QList<double>{0.0, 3.5}));
        QCOMPARE(lines, (QList<int>{0, 1}));
    }

    void new_sound_file_reports_silence_and_the_volume_again()
    {
        auto& made = make<Buzzer_interface>();
        const auto set_up = [&made] {
            const Captured_descriptor output(STDOUT_FILENO);
            made.set_volume(3.7);
        };
        set_up();
        QSignalSpy changed(&made, &Buzzer_interface::volume_changed);
        Captured_descriptor output(STDOUT_FILENO);
        made.set_buzzer_file(QStringLiteral("/x/\u00e4.wav"));
        QCOMPARE(output.text(), QByteArray("BUZ get filename /x/\xc3\xa4.wav\n"
                                           "BUZ volume set to 0.000000\n"
                                           "BUZ volume set to 3.700000\n"));
        QCOMPARE(changed.count(), 2);
        QCOMPARE(changed[0][0].value<uchar>(), uchar{0});
        QCOMPARE(changed[1][0].value<uchar>(), uchar{3});
        QCOMPARE(output_of(made, &Buzzer_interface::get_volume), 3.7);
        QCOMPARE(output_of(made, &Buzzer_interface::get_buzzer_file),
                 QStringLiteral("/x/\u00e4.wav"));
    }

    void buzzer_removes_its_marker_at_the_end()
    {
        const QString marker = QStringLiteral("tmp/.buzzer_on");
        world_.root.write(marker, "");
        Captured_descriptor output(STDOUT_FILENO);
        world_.daemon->handle_quit();
        QVERIFY(output.text().startsWith("Quiting\n"));
        QVERIFY(output.text().contains("BUZ cleaning up\n"));
        QVERIFY(!QFile::exists(world_.root.path(marker)));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Output_objects>(count, arguments, "<power/>");
}
#include "output_objects.moc"
