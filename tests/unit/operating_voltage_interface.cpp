// The supply voltage of the outputs.

#include "Operating_voltage_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

class Operating_voltage : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void sends_the_low_byte_and_keeps_all()
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

    void sends_nothing_when_it_is_made()
    {
        new Operating_voltage_interface(world_.daemon, QStringLiteral("v"));
        QCOMPARE_EMPTY(world_.link->sent);
    }

    void takes_its_report()
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

    void command_leaves_before_it_is_printed_and_remembered()
    {
        auto& made = make<Operating_voltage_interface>();
        Captured_descriptor output(STDOUT_FILENO);
        world_.link->before_sending = [&] {
            QCOMPARE(output.text(), QByteArray());
            QCOMPARE(output_of(made, &Operating_voltage_interface::get_operating_voltage), 0U);
        };
        made.set_operating_voltage(2);
        world_.link->before_sending = nullptr;
        QCOMPARE(output.text(), QByteArray("OPVOLT SET: 0d 02 00 00 00 00 00 00 \n"));
        QCOMPARE(output_of(made, &Operating_voltage_interface::get_operating_voltage), 2U);
    }

    void report_takes_the_place_of_what_was_set()
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
};

int main(int count, char** arguments)
{
    return run_with_daemon<Operating_voltage>(count, arguments, "<power/>");
}
#include "operating_voltage_interface.moc"
