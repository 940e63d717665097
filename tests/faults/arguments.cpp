// Arguments, variables and limits that no parent should give.

#include "Terminal.h"

#include <QFile>

#include <csignal>

#include <sys/resource.h>

class Arguments : public QObject {
    Q_OBJECT

private:
    static QString serial_number(Terminal& terminal)
    {
        return terminal.get(QStringLiteral("version/serial_number"), QStringLiteral("get"))
            .toString();
    }

    /// Starts it by a Python script, with the program, the device and the limits' module at hand.
    static void start_by(const QByteArray& script, Terminal& terminal)
    {
        terminal.root.write(QStringLiteral("start.py"),
                            "import os, resource, sys\nprogram, device = sys.argv[1:]\n" + script);
        terminal.daemon.start_program(
            QStringLiteral("/usr/bin/python3"), terminal.root.path(), terminal.bus.address(),
            {terminal.root.path(QStringLiteral("start.py")), Daemon_process::test_program(),
             terminal.controller.device()});
    }

private Q_SLOTS:
    void ten_thousand_options()
    {
        Terminal terminal;
        start_by("os.execv(program, [program] + 10000 * ['-x'] + ['--port', device])\n", terminal);
        QVERIFY(terminal.wait_until_started());
        QCOMPARE(terminal.daemon.output().count("Unknown command x\n"), 10000);
        QVERIFY(terminal.ends_cleanly());
    }

    void option_of_100000_characters()
    {
        Terminal terminal;
        start_by("os.execv(program, [program, '--' + 100000 * 'a', 100000 * 'b', '-', '--', "
                 "'--port', device])\n",
                 terminal);
        QVERIFY(terminal.wait_until_started());
        const QByteArray name(100000, 'a');
        const QByteArray& text = terminal.daemon.output();
        QCOMPARE_CONTAINS(text, "Got --" + name + "\n");
        QCOMPARE_CONTAINS(text, "Unknown command " + name + "\n");
        QCOMPARE(text.count("Unknown command \n"), 2);
        QVERIFY(terminal.ends_cleanly());
    }

    void empty_option_ends_the_start()
    {
        Terminal terminal;
        start_by("os.execv(program, [program, '', '--port', device])\n", terminal);
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
        QCOMPARE_STARTS(terminal.daemon.output(), "Bah\nGot \nGot --port\n");
    }

    /// The device is the default then.
    void no_name_of_its_own_data()
    {
        QTest::addColumn<QByteArray>("script");
        // Python itself refuses to pass either.
        const QByteArray start = "import ctypes\n"
                                 "def execute(*words):\n"
                                 "    words = (ctypes.c_char_p * (len(words) + 1))(*words, None)\n"
                                 "    ctypes.CDLL(None).execv(program.encode(), words)\n";
        QTest::newRow("empty name") << start + "execute(b'', b'--x')\n";
        QTest::newRow("no arguments") << start + "execute()\n";
    }
    void no_name_of_its_own()
    {
        QFETCH(const QByteArray, script);
        Terminal terminal;
        QVERIFY(QFile::link(terminal.controller.device(),
                            terminal.root.path(QStringLiteral("dev/ttyUSB0"))));
        start_by(script, terminal);
        QVERIFY(terminal.wait_until_started());
        QCOMPARE(serial_number(terminal), QStringLiteral("1234\n"));
        QVERIFY(terminal.ends_cleanly());
    }

    /// Settings of the libraries' own that a developer may have left behind.
    void variables_of_the_libraries()
    {
        Terminal terminal;
        terminal.root.remove(QStringLiteral("media"));
        const QPair<const char*, const char*> variables[] = {
            {"QT_LOGGING_RULES", "*=true"},
            {"QT_MESSAGE_PATTERN", "%{backtrace} %{message}"},
            {"QT_FATAL_WARNINGS", "1"},
            {"QT_FATAL_CRITICALS", "1"},
            {"QT_NO_GLIB", "0"},
            {"QDBUS_DEBUG", "1"},
            {"DBUS_FATAL_WARNINGS", "1"},
            {"DBUS_VERBOSE", "1"},
            {"LC_ALL", "de_DE.UTF-8"},
            {"LANG", "tr_TR"},
            {"TZ", "nonsense"},
            {"HOME", "/nowhere"},
            {"TMPDIR", "/nowhere"},
        };
        for (const auto& [name, value] : variables)
            terminal.daemon.set_environment(QLatin1String(name), QLatin1String(value));
        terminal.start();
        QCOMPARE(serial_number(terminal), QStringLiteral("1234\n"));
        terminal.send("1e0bb8");
        QCOMPARE_CONTAINS(terminal.daemon.output(), "3");
        terminal.bus.stop();
        terminal.controller.clear();
        QVERIFY(wait_for([&] { return terminal.controller.has_received("1b"); }));
        terminal.controller.hang_up();
        QVERIFY(terminal.ends_cleanly());
    }

    void huge_environment()
    {
        Terminal terminal;
        start_by("for i in range(10):\n"
                 "    os.environ['DOV_' + str(i)] = 100000 * 'x'\n"
                 "os.execv(program, [program, '--port', device])\n",
                 terminal);
        QVERIFY(terminal.wait_until_started());
        QCOMPARE(serial_number(terminal), QStringLiteral("1234\n"));
        QVERIFY(terminal.ends_cleanly());
    }

    void small_stack_and_address_space()
    {
#ifdef DOV_LIMITED_MEMORY
        Terminal terminal;
        start_by("resource.setrlimit(resource.RLIMIT_STACK, (256 << 10, 256 << 10))\n"
                 "resource.setrlimit(resource.RLIMIT_AS, (512 << 20, 512 << 20))\n"
                 "resource.setrlimit(resource.RLIMIT_MEMLOCK, (0, 0))\n"
                 "resource.setrlimit(resource.RLIMIT_CORE, (0, 0))\n"
                 "os.execv(program, [program, '--port', device])\n",
                 terminal);
        QVERIFY(terminal.wait_until_started());
        QCOMPARE(serial_number(terminal), QStringLiteral("1234\n"));
        terminal.send("1e0bb8");
        QVERIFY(terminal.ends_cleanly());
#endif
    }

    /// No more than 4 MB for all that comes.
    void little_memory_left()
    {
#ifdef DOV_LIMITED_MEMORY
        Terminal terminal;
        terminal.start();
        QFile file(QStringLiteral("/proc/%1/statm").arg(terminal.daemon.pid()));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const rlim_t now = file.readAll().split(' ')[0].toULongLong() * 4096 + (4U << 20);
        const rlimit limit = {now, now};
        QCOMPARE(prlimit(static_cast<pid_t>(terminal.daemon.pid()), RLIMIT_AS, &limit, nullptr), 0);
        for (int i = 0; i < 1000; ++i)
            terminal.controller.send(QByteArray::fromHex("1001"));
        terminal.settle();
        QVERIFY(terminal.ends_cleanly());
#endif
    }

    void very_low_limits_while_running()
    {
        Terminal terminal;
        terminal.start();
        const rlimit nothing = {0, 0};
        for (const auto resource : {RLIMIT_NPROC, RLIMIT_FSIZE, RLIMIT_CORE, RLIMIT_MEMLOCK,
                                    RLIMIT_SIGPENDING, RLIMIT_MSGQUEUE, RLIMIT_NICE})
            QCOMPARE(
                prlimit(static_cast<pid_t>(terminal.daemon.pid()), resource, &nothing, nullptr), 0);
        for (int i = 0; i < 100; ++i)
            terminal.controller.send(QByteArray::fromHex("1001"));
        terminal.settle();
        QVERIFY(terminal.ends_cleanly());
    }
};

QTEST_GUILESS_MAIN(Arguments)
#include "arguments.moc"
