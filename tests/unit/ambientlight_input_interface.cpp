// The ambient light.

#include "Ambientlight_input_interface.h"

#include "Captured_console.h"
#include "Input_test.h"

class Ambientlight_input : public Input_test {
    Q_OBJECT
public:
    using Input_test::Input_test;

private Q_SLOTS:
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void readings_data()
    {
        add_reading_columns();
        add_reading(0, "3600000009c40000", 2500 * 0.001 * 100 / 4.995);
        add_reading(0, "2009c40000000000", 2500 * 0.001 * 100 / 4.995);
        add_reading(0, "2013830000000000", 100.0); // 4995
        add_reading(0, "2013880000000000", 100.0); // 5000
        add_reading(0, "20ffff", 100.0);
        add_reading(0, "200000", 0.0);
    }
    void readings() { check_reading(make<Ambientlight_input_interface>()); }

    void other_messages_are_refused_data()
    {
        add_refused_columns();
        add_refused(0, "1e0000");
        add_refused(0, "2000");
        add_refused(0, "3600000000");
    }
    void other_messages_are_refused() { check_refused(make<Ambientlight_input_interface>()); }

    void single_readings_are_traced_and_digests_are_not()
    {
        auto& light = make<Ambientlight_input_interface>();
        const Captured_descriptor errors(STDERR_FILENO);
        Captured_descriptor output(STDOUT_FILENO);
        offer(light, "200abc");
        offer(light, "3600abcd00000000");
        QCOMPARE(output.text(), QByteArray("LRAW: 200ABC: 2.748\n"));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Ambientlight_input>(count, arguments, "<power/>");
}
#include "ambientlight_input_interface.moc"
