// The display's backlight.

#include "LCD_backlight_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

#include <QSignalSpy>

#include <cmath>

class LCD_backlight : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private:
    static QByteArray hex(const Message& message)
    {
        return QByteArray(reinterpret_cast<const char*>(message.data()), 8).toHex();
    }

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void is_queried_when_it_is_made()
    {
        Captured_descriptor output(STDOUT_FILENO);
        auto* made = new LCD_backlight_interface(world_.daemon, QStringLiteral("b"));
        QCOMPARE(world_.link->sent, Payloads{"31ffff0000000000"});
        QCOMPARE(output.text(), QByteArray("LCDBRIGET: 31 ff ff 00 00 00 00 00 \n"));
        QCOMPARE(output_of(*made, &Dimmable_interface::get_brightness), 100.0);
    }

    void levels_data()
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
    void levels()
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

    void of_minus_0_is_kept_as_given()
    {
        auto& made = make<LCD_backlight_interface>();
        const Captured_descriptor output(STDOUT_FILENO);
        made.set_brightness(-0.0);
        QVERIFY(std::signbit(output_of(made, &Dimmable_interface::get_brightness)));
    }

    void takes_its_report()
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
        QCOMPARE_EMPTY(world_.link->sent);
        QCOMPARE(changed.count(), 0);
    }

    void bytes_of_commands()
    {
        QCOMPARE(hex(backlight_command(50.0)), QByteArray("317f000000000000"));
        QCOMPARE(hex(backlight_command(100.05)), QByteArray("31fe7f0000000000"));
        QCOMPARE(hex(backlight_command(0.1)), QByteArray("3100fe0000000000"));
        QCOMPARE(hex(backlight_command(-0.0)), QByteArray("3100000000000000"));
        QCOMPARE(hex(backlight_command(1e308)), QByteArray("31fe000000000000"));
        QCOMPARE(hex(backlight_command(5e-324)), QByteArray("3100000000000000"));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<LCD_backlight>(count, arguments, "<power/>");
}
#include "lcd_backlight_interface.moc"
