// Start-up by the command line, and the end of the program.

#include "Terminal.h"

#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QRandomGenerator>
#include <QSignalSpy>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

class Lifecycle : public QObject {
    Q_OBJECT

private:
    /// Runs the program to its end with the arguments; what it prints.
    static QByteArray run(Terminal& terminal, const QStringList& arguments)
    {
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(), arguments);
        if (!terminal.daemon.wait_for_end())
            report::give_up("the program does not end");
        return terminal.daemon.output();
    }

    static QByteArray daemon_usage(const QString& program)
    {
        return "Usage: " + program.toUtf8() +
               "  <commands> where <commands> are a list of:\n"
               "    --port <path>       Open serial port indicated by <path>\n"
               "    --baudrate <rate>   Set baud rate of serial port to <baud>\n"
               "    --debug             Turn on debugging\n"
               "    --help              This help text\n";
    }

    /// What the reading of a power configuration that says nothing logs, from the start on.
    static QStringList configuration_lines()
    {
        return {QStringLiteral("=============== Starting ================="),
                QStringLiteral("Timeout for on is -1"),
                QStringLiteral("Timeout for low-power is 100"),
                QStringLiteral("Timeout for sleep is 100")};
    }

    static auto exit_lines(Terminal& terminal)
    {
        return terminal.log.lines().count(
            QStringLiteral("=============== Exiting ================="));
    }

private Q_SLOTS:
    void help_after_other_arguments_ends_the_program()
    {
        Terminal terminal;
        const QByteArray text = run(terminal, {QStringLiteral("--port"), QStringLiteral("/x"),
                                               QStringLiteral("--help"), QStringLiteral("--more")});
        QCOMPARE(text, QByteArray("Bah\nGot --port\nGot /x\nGot --help\n"
                                  "Usage: --help [--simulate] [--help]\n"
                                  "    --simulate  Simulate PIC\n"
                                  "    --help      This help\n"));
        QCOMPARE(terminal.daemon.exit_status(), 0);
        QCOMPARE_EMPTY(terminal.log.datagrams());
    }

    void help_keeps_the_simulator_from_starting()
    {
        Terminal terminal;
        const QByteArray text =
            run(terminal, {QStringLiteral("--simulate"), QStringLiteral("--help")});
        QCOMPARE_STARTS(text, "Bah\nGot --simulate\nGot --help\nUsage: --help ");
        QCOMPARE_LACKS(text, "Simulate\n");
        QCOMPARE(terminal.daemon.exit_status(), 0);
    }

    void what_only_begins_like_an_option_is_another_option()
    {
        Terminal terminal;
        const QByteArray text =
            run(terminal, {QStringLiteral("--simulateX"), QStringLiteral("--helpX"),
                           QStringLiteral("word"), QStringLiteral("word")});
        QCOMPARE_STARTS(text, "Bah\nGot --simulateX\nGot --helpX\nGot word\nGot word\nDBus\n");
        QCOMPARE_CONTAINS(text, "Unknown command simulateX\nUsage: ");
        QCOMPARE_CONTAINS(text, "Unknown command helpX\nUsage: ");
    }

    void refused_start_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("bare word") << QStringList{QStringLiteral("word")};
        QTest::newRow("zero baud rate")
            << QStringList{QStringLiteral("--baudrate"), QStringLiteral("0")};
        QTest::newRow("no number")
            << QStringList{QStringLiteral("--baudrate"), QStringLiteral("x")};
        QTest::newRow("no value") << QStringList{QStringLiteral("--baudrate")};
        QTest::newRow("value is an option")
            << QStringList{QStringLiteral("--baudrate"), QStringLiteral("--port")};
        QTest::newRow("zero after the cut to 32 bits")
            << QStringList{QStringLiteral("--baudrate"), QStringLiteral("0x100000000")};
        QTest::newRow("word after a value")
            << QStringList{QStringLiteral("--port"), QStringLiteral("/x"), QStringLiteral("word")};
    }
    void refused_start()
    {
        QFETCH(QStringList, arguments);
        Terminal terminal;
        const QString service = QStringLiteral("com.quorin.system");
        const QDBusServiceWatcher watcher(service, terminal.connection());
        QSignalSpy registered(&watcher, &QDBusServiceWatcher::serviceRegistered);
        QVERIFY(!terminal.connection().interface()->isServiceRegistered(service));
        QByteArray expected = "Bah\n";
        for (const QString& argument : arguments)
            expected += "Got " + argument.toUtf8() + "\n";
        const QByteArray text = run(terminal, arguments);
        // The configuration has been read by then.
        QCOMPARE(text.left(text.indexOf("DBus\n") + 5), expected + "DBus\n");
        QCOMPARE_LACKS(text, "Periodic");
        QCOMPARE(terminal.daemon.exit_status(), 0);
        QCOMPARE(terminal.log.lines(), configuration_lines());
        QCOMPARE_EMPTY(terminal.root.systemctl_calls());
        // What the bus has told before this answer has arrived with it.
        QVERIFY(!terminal.connection().interface()->isServiceRegistered(service));
        QCoreApplication::processEvents();
        QCOMPARE_EMPTY(registered);
    }

    void one_dash_options_and_unknown_ones_print_the_usage_and_start_goes_on()
    {
        Terminal terminal;
        terminal.start({QStringLiteral("-help"), QStringLiteral("--debug")});
        const QByteArray usage = daemon_usage(Daemon_process::test_program());
        const QByteArray text = terminal.daemon.output();
        QCOMPARE_STARTS(text, "Bah\nGot --port\n");
        QCOMPARE_CONTAINS(text, "Got -help\nGot --debug\nDBus\n");
        // Behind what the configuration does not say.
        QCOMPARE_CONTAINS(text, "NOT FOUND Text: \n" + usage + "Unknown command debug\n" + usage);
    }

    void default_port_and_service_name()
    {
        Terminal terminal;
        QVERIFY(QFile::link(terminal.controller.device(),
                            terminal.root.path(QStringLiteral("dev/ttyUSB0"))));
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(), {});
        QVERIFY(terminal.wait_until_started());
        QCOMPARE_STARTS(terminal.daemon.output(), "Bah\nDBus\n");
        QVERIFY(wait_for([&] { return terminal.controller.has_received("350200"); }));
        QVERIFY(terminal.connection().interface()->isServiceRegistered(
            QStringLiteral("com.quorin.system")));
    }

    void port_without_a_value_is_a_closed_port()
    {
        Terminal terminal;
        // The default is not opened in its place.
        QVERIFY(QFile::link(terminal.controller.device(),
                            terminal.root.path(QStringLiteral("dev/ttyUSB0"))));
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(),
                              {QStringLiteral("--port")});
        QVERIFY(terminal.wait_until_started());
        QCOMPARE(
            terminal.get(QStringLiteral("version/bootloader"), QStringLiteral("get")).toString(),
            QStringLiteral("No PC Comms"));
        terminal.daemon.signal(SIGTERM);
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
        QCOMPARE_EMPTY(terminal.controller.requests());
    }

    void log_of_a_start_and_an_end()
    {
        Terminal terminal;
        terminal.root.write(QStringLiteral("etc/oem_profile.conf"),
                            "<profile><code>3</code></profile>");
        terminal.start();
        QCOMPARE_STARTS(terminal.log.datagrams().first(),
                        QLatin1String("<30>orb-dbus: ==============="));
        const QString owner =
            terminal.connection().interface()->serviceOwner(QStringLiteral("com.quorin.system"));
        QStringList expected = configuration_lines();
        expected << QStringLiteral("Configured OEM code for this system is 3")
                 << QStringLiteral("orb-dbus connect name: qt_default_system_bus")
                 << QStringLiteral("orb-dbus connect base: ") + owner
                 << QStringLiteral("Switching power state: null=>on")
                 << QStringLiteral("System => ON") << QStringLiteral("Display backlight => ON");
        const QStringList lines = terminal.log.lines();
        const QStringList masks = lines.filter(QStringLiteral("PWR:"));
        QCOMPARE(masks.size(), 13);
        QCOMPARE(lines.mid(5, 13), masks);
        QCOMPARE(lines.mid(0, 5) + lines.mid(18, 5), expected);
        terminal.daemon.signal(SIGTERM);
        QVERIFY(terminal.daemon.wait_for_end());
        WAIT_UNTIL(exit_lines(terminal), ==, 1);
        QCOMPARE(terminal.log.lines().last(),
                 QStringLiteral("=============== Exiting ================="));
    }

    void signal_ends_the_daemon_once_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }
    void signal_ends_the_daemon_once()
    {
        QFETCH(int, number);
        Terminal terminal;
        terminal.start();
        terminal.clear();
        terminal.daemon.signal(number);
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
        QCOMPARE_ENDS(terminal.daemon.output(), "\nQuit signal got " + QByteArray::number(number) +
                                                    "\nQuiting\nBUZ cleaning up\n");
        WAIT_UNTIL(exit_lines(terminal), ==, 1);
        QVERIFY(wait_for([&] {
            return terminal.controller.received().endsWith(
                QByteArray::fromHex("18ef785935000000000000000d"));
        }));
        // The bus may be late to notice that its client has gone.
        QVERIFY(wait_for([&] {
            return !terminal.connection().interface()->isServiceRegistered(
                QStringLiteral("com.quorin.system"));
        }));
    }

    void two_signals_in_quick_succession_end_it_once()
    {
        Terminal terminal;
        terminal.start();
        terminal.daemon.signal(SIGTERM);
        terminal.daemon.signal(SIGINT);
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
        WAIT_UNTIL(exit_lines(terminal), ==, 1);
        QCOMPARE(terminal.daemon.output().count("Quiting\n"), 1);
    }

    void signal_before_the_loop_runs_is_handled_after_start_up()
    {
        Terminal terminal;
        terminal.launch();
        // From its first line on the program holds the signals back until it can handle them.
        QVERIFY(wait_for([&] { return terminal.daemon.output().startsWith("Bah\n"); }));
        terminal.daemon.signal(SIGHUP);
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
        const QByteArray text = terminal.daemon.output();
        QCOMPARE_GT(text.indexOf("Periodic\n"), 0);
        QCOMPARE_GT(text.indexOf("Quit signal got 1\n"), text.indexOf("Periodic\n"));
        WAIT_UNTIL(exit_lines(terminal), ==, 1);
    }

    void signals_at_random_moments()
    {
        QRandomGenerator random(20261121);
        for (int round = 0; round < 12; ++round) {
            Terminal terminal;
            terminal.launch();
            QVERIFY(wait_for([&] { return terminal.daemon.output().startsWith("Bah\n"); }));
            QTest::qWait(static_cast<int>(random.bounded(40U)));
            const int number = QList<int>{SIGTERM, SIGINT, SIGHUP}[round % 3];
            terminal.daemon.signal(number);
            QVERIFY(terminal.daemon.wait_for_end());
            QCOMPARE(terminal.daemon.exit_status(), 0);
            WAIT_UNTIL(exit_lines(terminal), ==, 1);
        }
    }

    void signal_under_load()
    {
        Terminal terminal;
        terminal.start();
        QByteArray flood;
        for (int i = 0; i < 200; ++i)
            flood += Fake_controller::frame(QByteArray::fromHex("360f123412345678"));
        terminal.controller.send_bytes(flood);
        terminal.daemon.signal(SIGTERM);
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
        WAIT_UNTIL(exit_lines(terminal), ==, 1);
    }

    void broken_output_pipe_does_not_end_it()
    {
        Terminal terminal;
        terminal.root.write(QStringLiteral("bin/broken-pipe"), "#!/bin/sh\nexec \"$@\" | true\n");
        terminal.daemon.start_program(
            QStringLiteral("/bin/sh"), terminal.root.path(), terminal.bus.address(),
            {terminal.root.path(QStringLiteral("bin/broken-pipe")), Daemon_process::test_program(),
             QStringLiteral("--port"), terminal.controller.device()});
        QVERIFY(wait_for([&] {
            return terminal.log.lines().contains(QLatin1String("Switching power state: null=>on"));
        }));
        QCOMPARE(
            terminal.get(QStringLiteral("device/buzzer"), QStringLiteral("get_volume")).toDouble(),
            0.0);
        const uint pid =
            terminal.connection().interface()->servicePid(QStringLiteral("com.quorin.system"));
        ::kill(static_cast<pid_t>(pid), SIGTERM);
        WAIT_UNTIL(exit_lines(terminal), ==, 1);
        QVERIFY(terminal.daemon.wait_for_end());
    }

    void closed_descriptors_stay_out_of_the_way()
    {
        Terminal terminal;
        terminal.daemon.start_program(
            QStringLiteral("/bin/sh"), terminal.root.path(), terminal.bus.address(),
            {QStringLiteral("-c"), QStringLiteral("exec \"$0\" --port \"$1\" <&- >&- 2>&-"),
             Daemon_process::test_program(), terminal.controller.device()});
        QVERIFY(wait_for([&] { return terminal.controller.has_received("350200"); }));
        terminal.daemon.signal(SIGTERM);
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
        // Not one byte of text has gone out on the line.
        const Fake_controller& controller = terminal.controller;
        WAIT_UNTIL(controller.received().size(), ==, controller.requests().size() * 13);
    }

    void both_streams_on_one_file_keep_their_order()
    {
        Terminal terminal;
        terminal.daemon.start_program(
            QStringLiteral("/bin/sh"), terminal.root.path(), terminal.bus.address(),
            {QStringLiteral("-c"), QStringLiteral("exec \"$0\" --port \"$1\" 2>&1"),
             Daemon_process::test_program(), terminal.controller.device()});
        QVERIFY(terminal.wait_until_started());
        terminal.controller.set_silent(true); // no answer to the poll between the texts
        terminal.clear();
        terminal.send("3601");
        QCOMPARE(terminal.output(), QByteArray("Got message 36\n"
                                               "Got Digest: 36  1  0  0  0  0  0  0 \n"
                                               "Changed id=6 len=8\n"
                                               "Updated val=0 !Changed\n"
                                               "Updated val=0 !Changed\n"
                                               "Updated val=0 !Changed\n"));
    }
};

QTEST_GUILESS_MAIN(Lifecycle)
#include "lifecycle.moc"
