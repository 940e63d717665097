// The temperatures.

#include "Temperature_input_interface.h"

#include "Captured_console.h"
#include "Input_test.h"

class Temperature_input : public Input_test {
    Q_OBJECT
public:
    using Input_test::Input_test;

private Q_SLOTS:
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void readings_data()
    {
        add_reading_columns();
        add_reading(0, "28f6000000000000", -10.0);
        add_reading(1, "2800f60000000000", -10.0);
        add_reading(2, "280000f600000000", -10.0);
        add_reading(3, "28000000f6000000", -10.0);
        add_reading(4, "2800000000f60000", -10.0);
        add_reading(5, "280000000000f6", -10.0);
        add_reading(0, "287f", 127.0);
        add_reading(0, "2880", -128.0);
    }
    void readings() { check_reading(make_channel<Temperature_input_interface>()); }

    void other_messages_are_refused_data()
    {
        add_refused_columns();
        add_refused(5, "280000000000");
        add_refused(0, "2200000000000000");
    }
    void other_messages_are_refused()
    {
        check_refused(make_channel<Temperature_input_interface>());
    }

    void channels_beyond_the_last_take_nothing()
    {
        const Captured_descriptor errors(STDERR_FILENO);
        auto& input = make<Temperature_input_interface>(6U);
        QVERIFY(!offer(input, "2801020304050607"));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Temperature_input>(count, arguments, "<power/>");
}
#include "temperature_input_interface.moc"
