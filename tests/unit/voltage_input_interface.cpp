// The voltages, which come in two messages.

#include "Voltage_input_interface.h"

#include "Captured_console.h"
#include "Input_test.h"

class Voltage_input : public Input_test {
    Q_OBJECT
public:
    using Input_test::Input_test;

private Q_SLOTS:
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void readings_data()
    {
        add_reading_columns();
        add_reading(0, "22010200000000ff", 0.258);
        add_reading(1, "2200000102000000", 0.258);
        add_reading(2, "2200000000010200", 0.258);
        add_reading(3, "2401020000000000", 0.258);
        add_reading(4, "2400000102000000", 0.258);
        add_reading(5, "2400000000010200", 0.258);
        add_reading(5, "2200000000010200", 0.258);
        add_reading(0, "24010200000000ff", 0.258);
    }
    void readings() { check_reading(make_channel<Voltage_input_interface>()); }

    void other_messages_are_refused_data()
    {
        add_refused_columns();
        add_refused(0, "280000000000000000");
        add_refused(2, "220000000000");
    }
    void other_messages_are_refused() { check_refused(make_channel<Voltage_input_interface>()); }

    void channels_beyond_the_last_take_nothing()
    {
        const Captured_descriptor errors(STDERR_FILENO);
        auto& input = make<Voltage_input_interface>(6U);
        QVERIFY(!offer(input, "2200010002000300"));
    }

    void it_takes_both_messages_and_not_the_analog_one()
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
};

int main(int count, char** arguments)
{
    return run_with_daemon<Voltage_input>(count, arguments, "<power/>");
}
#include "voltage_input_interface.moc"
