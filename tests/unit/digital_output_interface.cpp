// The switched outputs.

#include "Digital_output_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

#include <QSignalSpy>

class Digital_output : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private:
    static QPair<bool, bool> state_of(Digital_output_interface& output)
    {
        return {output_of(output, &Digital_output_interface::is_on),
                output_of(output, &Digital_output_interface::is_enabled)};
    }

    static QByteArray hex(const Message& message)
    {
        return QByteArray(reinterpret_cast<const char*>(message.data()), 8).toHex();
    }

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void is_commanded_off_when_it_is_made_data()
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
    void is_commanded_off_when_it_is_made()
    {
        QFETCH(uint, channel);
        QFETCH(QByteArray, command);
        Captured_descriptor output(STDOUT_FILENO);
        auto* made = new Digital_output_interface(world_.daemon, QStringLiteral("d"), channel);
        QCOMPARE(world_.link->sent, Payloads{command});
        QTEST(output.text(), "text");
        QCOMPARE(state_of(*made), qMakePair(false, true));
    }

    void commands_data()
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
    void commands()
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

    void methods_keep_what_they_do_not_set()
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
        made.disable();
        QCOMPARE(state_of(made), qMakePair(false, false));
        made.enable();
        QCOMPARE(state_of(made), qMakePair(false, true));
        QCOMPARE(world_.link->sent,
                 (Payloads{"3302020000000000", "3303030000000000", "3303030000000000",
                           "3303030000000000", "3302020000000000", "3301010000000000",
                           "3303030000000000", "3301010000000000"}));
        QCOMPARE(changed.count(), 0);
    }

    void command_leaves_before_it_is_printed_and_remembered()
    {
        auto& made = make<Digital_output_interface>(0U);
        Captured_descriptor output(STDOUT_FILENO);
        world_.link->before_sending = [&] {
            QCOMPARE(output.text(), QByteArray());
            QCOMPARE(state_of(made), qMakePair(false, true));
        };
        made.on();
        world_.link->before_sending = nullptr;
        QCOMPARE(output.text(), QByteArray("DOUTRAW: 33 02 02 00 00 00 00 00 \n"));
        QCOMPARE(state_of(made), qMakePair(true, true));
    }

    void reports_data()
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
    void reports()
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
        QCOMPARE_EMPTY(world_.link->sent);
    }

    void reported_output_is_enabled_again()
    {
        auto& made = make<Digital_output_interface>(1U);
        const Captured_descriptor output(STDOUT_FILENO);
        made.set(true, false);
        QVERIFY(offer(made, "340004"));
        QCOMPARE(state_of(made), qMakePair(false, true));
    }

    void refuses_other_messages()
    {
        auto& made = make<Digital_output_interface>(0U);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(made, "33020202"));
        QVERIFY(!offer(made, "3402"));
        QCOMPARE(state_of(made), qMakePair(false, true));
        QCOMPARE(errors.text(), QByteArray("Unhandled id=51 len=4\nUnhandled id=52 len=2\n"));
    }

    void bytes_of_commands()
    {
        QCOMPARE(hex(digital_output_command(true, true, 3)), QByteArray("3380800000000000"));
        QCOMPARE(hex(digital_output_command(false, true, 1)), QByteArray("3304040000000000"));
        QCOMPARE(hex(digital_output_command(true, false, 3)), QByteArray("33c0c00000000000"));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Digital_output>(count, arguments, "<power/>");
}
#include "digital_output_interface.moc"
