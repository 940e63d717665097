// What is particular to single objects and hard to see from outside.

#include "Analog_input_interface.h"
#include "Buzzer_interface.h"
#include "Captured_console.h"
#include "Digital_input_interface.h"
#include "Digital_output_interface.h"
#include "LCD_backlight_interface.h"
#include "Lock_interface.h"
#include "Operating_voltage_interface.h"
#include "Power_interface.h"
#include "Radar_output_interface.h"
#include "Temperature_input_interface.h"
#include "Test_daemon.h"
#include "Voltage_input_interface.h"

#include <QSignalSpy>

#include <cmath>

class Interfaces : public QObject {
    Q_OBJECT
public:
    explicit Interfaces(Test_daemon& world) : world_(world) {}

private:
    Test_daemon& world_;

    static QByteArray hex(const Message& message)
    {
        return QByteArray(reinterpret_cast<const char*>(message.data()), 8).toHex();
    }

    template <class Object>
    static bool offer(Object& object, const char* hex_text)
    {
        const QByteArray bytes = QByteArray::fromHex(hex_text);
        return object.handle_message(reinterpret_cast<const uchar*>(bytes.constData()),
                                     static_cast<uint>(bytes.size()));
    }

private Q_SLOTS:
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void path_is_joined_as_it_is()
    {
        Captured_descriptor output(STDOUT_FILENO);
        const auto* object = new Lock_interface(world_.daemon, QStringLiteral("/power/lock"));
        object->dump_interface();
        QVERIFY(output.text().startsWith("Path: /com/quorin/system//power/lock\n"
                                         "  Class:   Lock_interface\n"
                                         "  D-Bus Interface: com.quorin.system.power.lock\n"));
    }

    void object_without_a_power_name_logs_no_mask()
    {
        world_.clear();
        new Lock_interface(world_.daemon, QStringLiteral("a"));
        QVERIFY(world_.lines().isEmpty());
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

    void output_commands()
    {
        QCOMPARE(hex(digital_output_command(true, true, 3)), QByteArray("3380800000000000"));
        QCOMPARE(hex(digital_output_command(false, true, 1)), QByteArray("3304040000000000"));
        QCOMPARE(hex(digital_output_command(true, false, 3)), QByteArray("33c0c00000000000"));
    }

    void backlight_levels()
    {
        QCOMPARE(hex(backlight_command(50.0)), QByteArray("317f000000000000"));
        QCOMPARE(hex(backlight_command(100.05)), QByteArray("31fe7f0000000000"));
        QCOMPARE(hex(backlight_command(0.1)), QByteArray("3100fe0000000000"));
        QCOMPARE(hex(backlight_command(-0.0)), QByteArray("3100000000000000"));
        QCOMPARE(hex(backlight_command(1e308)), QByteArray("31fe000000000000"));
        QCOMPARE(hex(backlight_command(5e-324)), QByteArray("3100000000000000"));
    }

    void reported_volumes()
    {
        QCOMPARE(reported_volume(3.99), uchar{3});
        QCOMPARE(reported_volume(-0.5), uchar{0});
        QCOMPARE(reported_volume(-9223372036854775808.0), uchar{0});
        QCOMPARE(reported_volume(9223372036854775808.0), uchar{0});
        QCOMPARE(reported_volume(9223372036854774784.0), uchar{0});
        QCOMPARE(reported_volume(1023.0), uchar{255});
        QCOMPARE(reported_volume(std::nan("")), uchar{0});
    }

    void operating_voltage_report_is_taken()
    {
        auto* object = new Operating_voltage_interface(world_.daemon, QStringLiteral("v"));
        Captured_descriptor output(STDOUT_FILENO);
        object->set_operating_voltage(300);
        QVERIFY(offer(*object, "0e07000000000000"));
        uint value = 0;
        object->get_operating_voltage(value);
        QCOMPARE(value, 7U);
        QCOMPARE(output.text(), QByteArray("OPVOLT SET: 0d 2c 00 00 00 00 00 00 \n"
                                           "OPVOLT IN: 0e 07 00 00 00 00 00 00 : 7\n"));
    }

    void channels_beyond_the_last_take_nothing()
    {
        const Captured_descriptor errors(STDERR_FILENO);
        auto* voltage = new Voltage_input_interface(world_.daemon, QStringLiteral("v6"), 6);
        auto* temperature = new Temperature_input_interface(world_.daemon, QStringLiteral("t6"), 6);
        QVERIFY(!offer(*voltage, "2200010002000300"));
        QVERIFY(!offer(*temperature, "2801020304050607"));
    }

    void voltage_takes_both_messages_and_not_the_analog_one()
    {
        Captured_descriptor errors(STDERR_FILENO);
        auto* voltage = new Voltage_input_interface(world_.daemon, QStringLiteral("v4"), 4);
        QVERIFY(offer(*voltage, "2200010002000300"));
        QVERIFY(offer(*voltage, "2400010003000300"));
        QVERIFY(!offer(*voltage, "3600010002000300"));
        QVERIFY(!offer(*voltage, "1e00010002000300"));
        double value = 0;
        voltage->get_value(value);
        QCOMPARE(value, 0.003);
        QCOMPARE(errors.text(), QByteArray("Updated val=0.002 Changed\nUpdated val=0.003 !Changed\n"
                                           "Unhandled id=54 len=8\nUnhandled id=30 len=8\n"));
    }

    void reported_change_restarts_the_period()
    {
        const Captured_descriptor errors(STDERR_FILENO);
        auto* input = new Analog_input_interface(world_.daemon, QStringLiteral("a1"), true);
        input->set_time_out(4000000000U);
        uint period = 0;
        input->get_time_out(period);
        QCOMPARE(period, 4000000000U);
        auto* timer = input->findChild<QTimer*>();
        QCOMPARE(timer->interval(), 2147483647);
        input->set_time_out(500000);
        QCOMPARE(timer->interval(), 500000);
        QTest::qWait(20);
        QVERIFY(timer->remainingTime() < 500000);
        input->set_hysteresis(1.0);
        const uchar message[] = {0x1e, 0x10, 0x00};
        const Captured_descriptor output(STDOUT_FILENO);
        const int before = timer->remainingTime();
        QVERIFY(input->handle_message(message, 3));
        QVERIFY(timer->remainingTime() > before);
        input->set_time_out(0);
        QVERIFY(input->findChild<QTimer*>() == nullptr);
    }

    void latched_limits_survive_new_limits()
    {
        const Captured_descriptor errors(STDERR_FILENO);
        const Captured_descriptor output(STDOUT_FILENO);
        auto* input = new Analog_input_interface(world_.daemon, QStringLiteral("a2"), true);
        QSignalSpy below(input, &Analog_input_interface::min_pass);
        input->set_min_value(2.0);
        offer(*input, "1e03e8");
        input->set_min_value(3.0);
        offer(*input, "1e03e8");
        QCOMPARE(below.count(), 1);
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Interfaces>(
        count, arguments,
        R"(<power><state name="low-power"><device name="video">off</device></state></power>)");
}
#include "interfaces.moc"
