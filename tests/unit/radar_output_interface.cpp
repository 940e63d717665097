// The frequency output.

#include "Radar_output_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

#include <QSignalSpy>

class Radar_output : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void starts_at_0()
    {
        Captured_descriptor output(STDOUT_FILENO);
        new Radar_output_interface(world_.daemon, QStringLiteral("f"));
        QCOMPARE(world_.link->sent, Payloads{"2901000000000000"});
        QCOMPARE(output.text(), QByteArray("RADARREQRAW: 29 01 00 00 00 00 00 00 \n"));
    }

    void sends_16_bits()
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

    void accepts_its_report_alone()
    {
        auto& made = make<Radar_output_interface>();
        Captured_descriptor both(STDERR_FILENO);
        QVERIFY(offer(made, "2a00000000000000"));
        QVERIFY(offer(made, "2a"));
        QVERIFY(!offer(made, "2900000000000000"));
        QCOMPARE(both.text(), QByteArray("Unhandled id=41 len=8\n"));
    }

    void command_leaves_before_it_is_printed()
    {
        auto& made = make<Radar_output_interface>();
        Captured_descriptor output(STDOUT_FILENO);
        world_.link->before_sending = [&] { QCOMPARE(output.text(), QByteArray()); };
        made.set(1);
        world_.link->before_sending = nullptr;
        QCOMPARE(output.text(), QByteArray("RADARREQRAW: 29 01 00 01 00 00 00 00 \n"));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Radar_output>(count, arguments, "<power/>");
}
#include "radar_output_interface.moc"
