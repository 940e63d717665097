// Faults of the process and of the machine: a hang-up of its terminal, errors of its device, a
// second daemon, a clock that jumps.

#include "Terminal.h"

#include <algorithm>
#include <csignal>
#include <optional>

class Process_faults : public QObject {
    Q_OBJECT

private:
    static bool is_poll(const Fake_controller::Request& request)
    {
        return request.payload.startsWith('\x1b');
    }

    /// How long the request behind the first one of a poll has waited, in milliseconds.
    static qint64 longest_answer_time(const Fake_controller& controller)
    {
        const auto& requests = controller.requests();
        qint64 longest = 0;
        for (int i = 1; i < requests.size(); ++i) {
            if (is_poll(requests[i - 1]))
                longest = std::max(longest, requests[i].msecs - requests[i - 1].msecs);
        }
        return longest;
    }

    /// From one poll to the next, in milliseconds.
    static qint64 longest_poll_period(const Fake_controller& controller)
    {
        qint64 longest = 0;
        std::optional<qint64> before;
        for (const auto& request : controller.requests()) {
            if (!is_poll(request))
                continue;
            longest = std::max(longest, request.msecs - before.value_or(request.msecs));
            before = request.msecs;
        }
        return longest;
    }

private Q_SLOTS:
    /// The leader of a session without a terminal gets its line as one, and SIGHUP when it breaks.
    void controlling_terminal_hangs_up()
    {
        Terminal terminal;
        terminal.daemon.start_program(QStringLiteral("setsid"), terminal.root.path(),
                                      terminal.bus.address(),
                                      {Daemon_process::test_program(), QStringLiteral("--port"),
                                       terminal.controller.device()});
        QVERIFY(terminal.wait_until_started());
        terminal.controller.hang_up();
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE_CONTAINS(terminal.daemon.output(), "\nQuit signal got 1\n");
        QVERIFY(terminal.has_ended_once());
    }

    /// Reading and writing this file at its beginning gives EIO.
    void device_gives_input_output_errors()
    {
        Terminal terminal;
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(),
                              {QStringLiteral("--port"), QStringLiteral("/proc/self/mem")});
        QVERIFY(terminal.wait_until_started());
        const QString voltage = QStringLiteral("device/operating_voltage");
        terminal.call(voltage, QStringLiteral("set_operating_voltage"), {7U});
        QCOMPARE(terminal.get(voltage, QStringLiteral("get_operating_voltage")).toUInt(), 7U);
        QVERIFY(terminal.ends_cleanly());
    }

    /// The second, on a line of its own, finds the name taken; both go on, and the first is the
    /// one that is asked.
    void two_at_once()
    {
        Terminal terminal;
        terminal.start();
        Fake_controller second_controller;
        Daemon_process second;
        second.start(terminal.root.path(), terminal.bus.address(),
                     {QStringLiteral("--port"), second_controller.device()});
        QVERIFY(wait_for([&] { return second_controller.has_received("3502"); }));
        second_controller.send(QByteArray::fromHex("1c01"));
        QVERIFY(wait_for([&] { return second.output().contains("Got message 1c\n"); }));
        const QString voltage = QStringLiteral("device/operating_voltage");
        terminal.call(voltage, QStringLiteral("set_operating_voltage"), {7U});
        QVERIFY(wait_for([&] { return terminal.controller.has_received("0d07"); }));
        QVERIFY(!second_controller.has_received("0d07"));
        second.signal(SIGTERM);
        QVERIFY(second.wait_for_end());
        QCOMPARE(second.exit_status(), 0);
        terminal.log.clear();
        QVERIFY(terminal.ends_cleanly());
    }

    void clock_is_far_off_data()
    {
        QTest::addColumn<QString>("seconds");
        QTest::newRow("1901") << QStringLiteral("-2147483649");
        QTest::newRow("1969") << QStringLiteral("-1");
        QTest::newRow("1970") << QStringLiteral("0");
        QTest::newRow("2106") << QStringLiteral("4294967296");
        QTest::newRow("beyond the year 200000") << QStringLiteral("9999999999999");
    }
    void clock_is_far_off()
    {
#ifdef DOV_STEPPING_CLOCK
        QFETCH(const QString, seconds);
        Terminal terminal;
        terminal.daemon.set_environment(QStringLiteral("LD_PRELOAD"),
                                        QStringLiteral(DOV_STEPPING_CLOCK));
        terminal.daemon.set_environment(QStringLiteral("DOV_CLOCK_S"), seconds);
        terminal.start();
        terminal.send("1e0bb8");
        QCOMPARE_CONTAINS(terminal.daemon.output(), "Got message 1e\n");
        QVERIFY(terminal.ends_cleanly());
#endif
    }

    /// Each look at the clock finds it a day off, to and fro. Answers are waited for as ever, and
    /// the poll comes as ever.
    void clock_steps()
    {
#ifdef DOV_STEPPING_CLOCK
        Terminal terminal;
        terminal.controller.ignore(0x1b);
        terminal.daemon.set_environment(QStringLiteral("LD_PRELOAD"),
                                        QStringLiteral(DOV_STEPPING_CLOCK));
        terminal.start();
        terminal.controller.clear();
        // A busy machine may notice a request late, so once is enough.
        // The poll's first request has no answer, and the next waits for it.
        WAIT_UNTIL(longest_answer_time(terminal.controller), >, 250);
        WAIT_UNTIL(longest_poll_period(terminal.controller), >, 2500);
        QVERIFY(terminal.ends_cleanly());
#endif
    }
};

QTEST_GUILESS_MAIN(Process_faults)

#include "process.moc"
