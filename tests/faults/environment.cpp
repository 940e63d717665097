// What the daemon inherits from its parent: variables, signals, limits, arguments, streams.

#include "Terminal.h"

#include <QDir>

#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

class Environment : public QObject {
    Q_OBJECT

private:
    static QString serial_number(Terminal& terminal)
    {
        return terminal.get(QStringLiteral("version/serial_number"), QStringLiteral("get"))
            .toString();
    }

    /// Starts it by a shell script, of which $0 is the program and $1 the device.
    static void start_by(const char* script, Terminal& terminal)
    {
        terminal.daemon.start_program(
            QStringLiteral("/bin/sh"), terminal.root.path(), terminal.bus.address(),
            {QStringLiteral("-c"), QString::fromLatin1(script), Daemon_process::test_program(),
             terminal.controller.device()});
    }

    /// Starts it so that it calls `systemctl`, which notes what a command prints.
    static void start_with_systemctl(const QByteArray& command, Terminal& terminal)
    {
        terminal.root.remove(QStringLiteral("etc/power_manage.conf"));
        const QByteArray calls =
            QFile::encodeName(terminal.root.path(QStringLiteral("systemctl.calls")));
        terminal.root.write(QStringLiteral("bin/systemctl"),
                            "#!/bin/sh\n" + command + " >> " + calls + "\n");
        terminal.start();
    }

    static rlim_t lowest_free_descriptor(const Terminal& terminal)
    {
        const QDir descriptors(QStringLiteral("/proc/%1/fd").arg(terminal.daemon.pid()));
        const QStringList used = descriptors.entryList(QDir::Files | QDir::System);
        int lowest = 0;
        while (used.contains(QString::number(lowest)))
            ++lowest;
        return static_cast<rlim_t>(lowest);
    }

private Q_SLOTS:
    /// No HOME, no locale, nothing but what the test itself is made of.
    void bare_variables()
    {
        Terminal terminal;
        start_by(
            "exec env -i PATH=\"$PATH\" DOV_TEST_ROOT=\"$DOV_TEST_ROOT\" "
            "DBUS_SYSTEM_BUS_ADDRESS=\"$DBUS_SYSTEM_BUS_ADDRESS\" "
            "TSAN_OPTIONS=\"$TSAN_OPTIONS\" LSAN_OPTIONS=\"$LSAN_OPTIONS\" \"$0\" --port \"$1\"",
            terminal);
        QVERIFY(terminal.wait_until_started());
        QCOMPARE(serial_number(terminal), QStringLiteral("1234\n"));
        QVERIFY(terminal.ends_cleanly());
    }

    void blocked_signals_end_it_all_the_same()
    {
        Terminal terminal;
        start_by("exec env --block-signal=TERM,INT,HUP,CHLD \"$0\" --port \"$1\"", terminal);
        QVERIFY(terminal.wait_until_started());
        QCOMPARE(serial_number(terminal), QStringLiteral("1234\n"));
        QVERIFY(terminal.ends_cleanly());
    }

    /// What the daemon ignores, a command has as it is by default.
    void shell_commands_ignore_no_signal_of_the_daemon()
    {
        Terminal terminal;
        start_with_systemctl("sed -n 's/^SigIgn:[[:space:]]*//p' /proc/self/status", terminal);
        QCOMPARE(terminal.root.systemctl_calls().size(), 1);
        const qulonglong ignored = terminal.root.systemctl_calls().first().toULongLong(nullptr, 16);
        QVERIFY((ignored >> (SIGPIPE - 1) & 1) == 0);
        QVERIFY((ignored >> (SIGXFSZ - 1) & 1) == 0);
        QVERIFY(terminal.ends_cleanly());
    }

    /// The system removes children at once then, and there is nothing to wait for.
    void ignored_signals_of_children()
    {
        Terminal terminal;
        terminal.root.remove(QStringLiteral("etc/power_manage.conf"));
        start_by("exec env --ignore-signal=CHLD \"$0\" --port \"$1\"", terminal);
        QVERIFY(terminal.wait_until_started());
        QCOMPARE(serial_number(terminal), QStringLiteral("1234\n"));
        QCOMPARE(terminal.root.systemctl_calls(),
                 QStringList{QStringLiteral("poweroff --no-block")});
        QVERIFY(terminal.ends_cleanly());
    }

    /// GLib's event loop costs more. What a command gets from the daemon tells which one it runs.
    void event_loop_is_qts_own()
    {
        Terminal terminal;
        start_with_systemctl("env | grep '^QT_NO_GLIB='", terminal);
        QCOMPARE(terminal.root.systemctl_calls(), QStringList{QStringLiteral("QT_NO_GLIB=1")});
        QVERIFY(terminal.ends_cleanly());
    }

#if DOV_SPARE_DESCRIPTORS == 0 // what the sanitizers want fails before
    /// With fewer than that, the libraries below end it.
    void no_descriptor_for_the_pipe_of_the_signals()
    {
        const QByteArray text = "no pipe for the signals: Too many open files\n";
        Terminal terminal;
        for (int most = 4; most < 64 && !terminal.daemon.errors().contains(text); ++most) {
            const QString script =
                QStringLiteral("ulimit -c 0; ulimit -n %1; exec \"$0\" --port \"$1\"").arg(most);
            start_by(qPrintable(script), terminal);
            QVERIFY(terminal.daemon.wait_for_end());
            QCOMPARE_NE(terminal.daemon.exit_status(), 0);
        }
        QCOMPARE_CONTAINS(terminal.daemon.errors(), text);
    }
#endif

    void no_more_descriptors_while_running()
    {
        Terminal terminal;
        terminal.start();
        const rlim_t none = lowest_free_descriptor(terminal) + DOV_SPARE_DESCRIPTORS;
        const rlimit limit = {none, none};
        QCOMPARE(prlimit(static_cast<pid_t>(terminal.daemon.pid()), RLIMIT_NOFILE, &limit, nullptr),
                 0);
        terminal.send("1e0bb8");
        terminal.call(QStringLiteral("media"), QStringLiteral("media_changed"),
                      {terminal.root.path(QStringLiteral("media")) + QLatin1Char('/')});
        QCOMPARE(
            terminal.get(QStringLiteral("device/io/input/analog/0"), QStringLiteral("get_value"))
                .toDouble(),
            3.0);
        // No line in the log: the test's takes a descriptor for each.
        terminal.daemon.signal(SIGTERM);
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
    }

    void arguments_that_are_no_text_are_echoed_as_they_are()
    {
        Terminal terminal;
        start_by("exec \"$0\" --port \"$1\" \"--$(printf 'a\\377\\302')\"", terminal);
        QVERIFY(terminal.wait_until_started());
        QCOMPARE_CONTAINS(terminal.daemon.output(), "\nGot --a\xff\xc2\nDBus\n");
        QCOMPARE_CONTAINS(terminal.daemon.output(), "Unknown command a\xff\xc2\nUsage: ");
        QVERIFY(terminal.ends_cleanly());
    }

    /// Every write fails for want of room, or because the terminal has hung up.
    void output_that_takes_nothing_data()
    {
        QTest::addColumn<bool>("is_terminal");
        QTest::newRow("full disk") << false;
        QTest::newRow("terminal that has hung up") << true;
    }
    void output_that_takes_nothing()
    {
        QFETCH(const bool, is_terminal);
        int output = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
        if (is_terminal) {
            Fake_controller gone;
            dup3(::open(gone.device().toLatin1().constData(), O_RDWR | O_NOCTTY | O_CLOEXEC),
                 output, O_CLOEXEC);
        }
        Terminal terminal;
        terminal.daemon.redirect(STDOUT_FILENO, output);
        terminal.launch();
        QVERIFY(terminal.wait_until_started());
        terminal.controller.send(QByteArray::fromHex("40"));
        QVERIFY(wait_for([&] {
            return terminal.log.lines().contains(QLatin1String("ATX acknowledge received"));
        }));
        QCOMPARE(serial_number(terminal), QStringLiteral("1234\n"));
        QVERIFY(terminal.ends_cleanly());
        ::close(output);
    }
};

QTEST_GUILESS_MAIN(Environment)
#include "environment.moc"
