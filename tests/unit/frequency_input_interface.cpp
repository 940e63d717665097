// The frequency input: its reading, and when it is a change.

#include "Frequency_input_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

#include <QSignalSpy>

class Frequency_input : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void starting_values()
    {
        auto& input = make<Frequency_input_interface>();
        QCOMPARE(output_of(input, &Frequency_input_interface::get_value), -1000000.0);
        QCOMPARE(output_of(input, &Frequency_input_interface::get_hysteresis), 1000000.0);
        QCOMPARE(output_of(input, &Frequency_input_interface::get_time_out, 1U), 0U);
    }

    void frequency_reads_the_last_two_bytes_of_the_digest()
    {
        auto& input = make<Frequency_input_interface>();
        QSignalSpy changed(&input, &Frequency_input_interface::val_changed);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(offer(input, "3600000000000000"));
        QVERIFY(offer(input, "360000000000abcd"));
        QVERIFY(offer(input, "3600000000000001"));
        QCOMPARE(seen(changed), (QList<QVariantList>{{43981.0, false}}));
        QCOMPARE(output_of(input, &Frequency_input_interface::get_value), 1.0);
        input.set_hysteresis(2.0);
        QCOMPARE(output_of(input, &Frequency_input_interface::get_hysteresis), 2.0);
        QVERIFY(offer(input, "360000000000abcb")); // 2 away from the reported value
        QVERIFY(offer(input, "360000000000abca"));
        QCOMPARE(changed.count(), 2);
        input.set_hysteresis(not_a_number);
        QVERIFY(offer(input, "3600000000000000"));
        QVERIFY(!offer(input, "36000000000000"));
        QVERIFY(!offer(input, "1e00000000000000"));
        QCOMPARE(errors.text(), QByteArray("Updated val=0 !Changed\nUpdated val=43981 Changed\n"
                                           "Updated val=1 !Changed\nUpdated val=43979 !Changed\n"
                                           "Updated val=43978 Changed\nUpdated val=0 !Changed\n"
                                           "Unhandled id=54 len=7\nUnhandled id=30 len=8\n"));
        changed.clear();
        input.handle_timeout();
        QCOMPARE(seen(changed), (QList<QVariantList>{{0.0, true}}));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Frequency_input>(count, arguments, "<power/>");
}
#include "frequency_input_interface.moc"
