// The simulator, talked to as the daemon would.

#include "Terminal.h"

#include <QFile>

#include <algorithm>
#include <csignal>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

class Simulator_test : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Terminal> terminal_;

    Terminal& terminal() { return *terminal_; }

    /// Starts it on the line; it answers nothing of its own accord.
    void start(const QStringList& options = {})
    {
        QVERIFY(QFile::link(terminal().controller.device(),
                            terminal().root.path(QStringLiteral("dev/ttyUSB1"))));
        terminal().controller.set_silent(true);
        terminal().daemon.start(terminal().root.path(), terminal().bus.address(),
                                QStringList{QStringLiteral("--simulate")} + options);
    }

    void ask(const QByteArray& request)
    {
        // The host's own addresses are those that the simulator's frames carry as well.
        QByteArray frame = Fake_controller::frame(QByteArray::fromHex(request));
        frame[2] = 0x78;
        frame[3] = 0x59;
        terminal().controller.send_bytes(frame);
    }

    speed_t line_speed()
    {
        const int device =
            open(terminal().controller.device().toLatin1().constData(), O_RDWR | O_NOCTTY);
        termios settings{};
        tcgetattr(device, &settings);
        close(device);
        return cfgetospeed(&settings);
    }

    /// Whether two reports come within that time, at some time: a busy machine may be late.
    bool two_reports_come_within(qint64 msecs)
    {
        const auto& requests = terminal().controller.requests();
        return wait_for([&] {
            return std::adjacent_find(requests.begin(), requests.end(),
                                      [msecs](const auto& one, const auto& next) {
                                          return next.msecs - one.msecs < msecs;
                                      }) != requests.end();
        });
    }

    bool is_answered(const QByteArray& payload)
    {
        return wait_for([this, &payload] { return terminal().controller.has_received(payload); });
    }

private Q_SLOTS:
    void init() { terminal_ = std::make_unique<Terminal>(); }
    void cleanup() { terminal_.reset(); }

    void output_commands_are_answered_with_the_states()
    {
        start();
        ask("330055");
        QVERIFY(is_answered("340055"));
        ask("3300aa");
        QVERIFY(is_answered("3400aa"));
        ask("330000");
        ask("3300c1"); // output 0 off, 3 as it was
        QVERIFY(is_answered("3400a9"));
        // The answer may be seen between the two halves of its text.
        QVERIFY(wait_for([this] { return terminal().daemon.output().endsWith("=>a9+FTTT\n"); }));
        QCOMPARE(terminal().daemon.output(), QByteArray("Bah\nGot --simulate\nSimulate\n"
                                                        "Src/Dest test failed 78:59 59:78\n8:33\n"
                                                        "Set Digi 55+FFFF =>55+FFFF\n"
                                                        "Src/Dest test failed 78:59 59:78\n8:33\n"
                                                        "Set Digi aa+FFFF =>aa+TTTT\n"
                                                        "Src/Dest test failed 78:59 59:78\n8:33\n"
                                                        "Set Digi 0+TTTT =>aa+TTTT\n"
                                                        "Src/Dest test failed 78:59 59:78\n8:33\n"
                                                        "Set Digi c1+TTTT =>a9+FTTT\n"));
        QCOMPARE(terminal().controller.payloads().filter(QStringLiteral("34 00 aa")).size(), 2);
    }

    void digest_is_reported_at_most_every_300_ms()
    {
        start();
        const qint64 asked = terminal().controller.now();
        ask("350100"); // every 50 ms
        WAIT_UNTIL(terminal().controller.requests().size(), >=, 4);
        QCOMPARE_ENDS(terminal().daemon.output(), "8:35\nRequest digest\n");
        const auto& requests = terminal().controller.requests();
        QCOMPARE(requests[0].payload.toHex(), QByteArray("36007f8001800000"));
        QCOMPARE(requests[1].payload.toHex(), QByteArray("3600808002800000"));
        QCOMPARE(requests[2].payload.toHex(), QByteArray("3600818003800000"));
        QCOMPARE_GE(requests[3].msecs - asked, 3 * 300);
    }

    void interval_is_counted_in_50_ms_and_repeats()
    {
        start();
        const qint64 asked = terminal().controller.now();
        ask("351400"); // every second
        QVERIFY(two_reports_come_within(1500));
        const auto& requests = terminal().controller.requests();
        for (int i = 0; i < requests.size(); ++i)
            QCOMPARE_GE(requests[i].msecs - asked, (i + 1) * 950); // a timer may be early by 5 %
    }

    void each_digest_request_adds_a_timer()
    {
        start();
        ask("351400");
        ask("351400");
        // Two reports a second, 300 ms apart.
        QVERIFY(two_reports_come_within(700));
    }

    void slower_timer_leaves_the_faster_one_alone()
    {
        start();
        ask("351400"); // every second
        ask("35ff00"); // every 12.75 s
        QVERIFY(two_reports_come_within(10000));
    }

    void interval_0_fires_on_every_turn_and_other_requests_go_on()
    {
        start();
        ask("350000");
        QVERIFY(wait_for([this] { return !terminal().controller.requests().isEmpty(); }));
        ask("010000");
        QVERIFY(wait_for([this] { return terminal().daemon.output().endsWith("8:01\n"); }));
    }

    /// Reports come as fast as the event loop turns and leave three a second.
    void reports_that_wait_do_not_fill_the_memory()
    {
        start();
        for (int i = 0; i < 100; ++i)
            ask("350000");
        const auto timers = [this] { return terminal().daemon.output().count("Request digest\n"); };
        WAIT_UNTIL(timers(), ==, 100);
        WAIT_UNTIL(terminal().controller.requests().size(), >=, 5);
        QFile status(QStringLiteral("/proc/%1/statm").arg(terminal().daemon.pid()));
        QVERIFY(status.open(QIODevice::ReadOnly));
        const int resident_pages = status.readAll().split(' ')[1].toInt();
        QVERIFY2(resident_pages < 16 * 1024, qPrintable(QString::number(resident_pages)));
    }

    void controllers_own_addresses_are_not_reported()
    {
        start();
        terminal().controller.send(QByteArray::fromHex("0100"));
        QVERIFY(
            wait_for([this] { return terminal().daemon.output().endsWith("Simulate\n8:01\n"); }));
    }

    void options_are_walked_as_the_daemons()
    {
        start({QStringLiteral("--port"), QStringLiteral("/nowhere"), QStringLiteral("--debug"),
               QStringLiteral("--simulat"), QStringLiteral("--simulate"), QStringLiteral("-help"),
               QStringLiteral("--baudrate"), QStringLiteral("0x2580")});
        ask("010000");
        QVERIFY(wait_for([this] { return terminal().daemon.output().endsWith("8:01\n"); }));
        QCOMPARE(line_speed(), speed_t{B115200}); // whatever is asked for
        const QByteArray text = terminal().daemon.output();
        const QByteArray usage = "Usage: " + Daemon_process::test_program().toUtf8() +
                                 "  <commands> where <commands> are a list of:\n"
                                 "    --port <path>       Open serial port indicated by <path>\n"
                                 "    --baudrate <rate>   Set baud rate of serial port to <baud>\n"
                                 "    --debug             Turn on debugging\n"
                                 "    --help              This help text\n";
        QCOMPARE_CONTAINS(text, "Simulate\nUnknown command debug\n" + usage +
                                    "Unknown command simulat\n" + usage + usage);
    }

    void refused_start_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("bare word")
            << QStringList{QStringLiteral("--debug"), QStringLiteral("a"), QStringLiteral("b")};
        QTest::newRow("zero baud rate")
            << QStringList{QStringLiteral("--baudrate"), QStringLiteral("0")};
    }
    void refused_start()
    {
        QFETCH(QStringList, options);
        start(options);
        QVERIFY(terminal().daemon.wait_for_end());
        QCOMPARE(terminal().daemon.exit_status(), 0);
    }

    void line_that_cannot_be_opened_data()
    {
        QTest::addColumn<QString>("target");
        QTest::newRow("no file") << QStringLiteral("/nowhere");
        QTest::newRow("a directory") << QStringLiteral("/");
    }
    /// It waits for requests all the same.
    void line_that_cannot_be_opened()
    {
        QFETCH(const QString, target);
        QVERIFY(QFile::link(target, terminal().root.path(QStringLiteral("dev/ttyUSB1"))));
        terminal().daemon.start(terminal().root.path(), terminal().bus.address(),
                                {QStringLiteral("--simulate")});
        QVERIFY(wait_for([this] { return terminal().daemon.output().endsWith("Simulate\n"); }));
        const auto sleeps = [this] {
            QFile status(QStringLiteral("/proc/%1/stat").arg(terminal().daemon.pid()));
            return status.open(QIODevice::ReadOnly) && status.readAll().contains(") S ");
        };
        QVERIFY(wait_for(sleeps));
        QVERIFY(terminal().daemon.is_running());
        terminal().daemon.signal(SIGTERM);
        QVERIFY(terminal().daemon.wait_for_end());
        QCOMPARE(terminal().daemon.exit_status(), -1);
    }

    void signal_ends_it_as_any_program()
    {
        start();
        ask("010000");
        QVERIFY(wait_for([this] { return terminal().daemon.output().endsWith("8:01\n"); }));
        terminal().daemon.signal(SIGTERM);
        QVERIFY(terminal().daemon.wait_for_end());
        QCOMPARE(terminal().daemon.exit_status(), -1);
    }
};

QTEST_GUILESS_MAIN(Simulator_test)
#include "simulator.moc"
