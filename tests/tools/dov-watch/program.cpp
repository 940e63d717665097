// dov-watch itself, with the daemon and its controller behind a bus: in lines, and on a terminal.

#include "Object_catalogue.h"
#include "Terminal.h"
#include "Terminal_screen.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <csignal>
#include <cstring>

class Program : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Terminal> terminal_;
    const QString watch_ = QStringLiteral(DOV_WATCH);
    const QString analog_ = QStringLiteral("device/io/input/analog/0");

    Terminal& terminal() { return *terminal_; }

    QStringList arguments(const QStringList& more = {})
    {
        return QStringList{QStringLiteral("--address"), terminal().bus.address(),
                           QStringLiteral("--interval"), QStringLiteral("50")} +
               more;
    }

    void start(Daemon_process& watch, const QStringList& more = {})
    {
        watch.start_program(watch_, terminal().root.path(), terminal().bus.address(),
                            arguments(more));
    }

    static bool shows(Daemon_process& watch, const QByteArray& text)
    {
        return wait_for([&] { return watch.output().contains(text); });
    }

    static bool shows(Terminal_screen& screen, const char* text)
    {
        const bool found =
            wait_for([&] { return screen.text().contains(QString::fromUtf8(text)); });
        if (!found)
            qWarning("%s", qPrintable(screen.text()));
        return found;
    }

    static bool ends(Terminal_screen& screen)
    {
        return wait_for([&] { return screen.has_ended(); }) &&
               wait_for([&] { return screen.is_restored(); });
    }

    QByteArray metrics() const
    {
        QFile file(terminal_->root.path(QStringLiteral("dov.prom")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private Q_SLOTS:
    void init()
    {
        terminal_ = std::make_unique<Terminal>();
        terminal_->start();
    }
    void cleanup() { terminal_.reset(); }

    void lines_tell_of_signals_and_readings()
    {
        Daemon_process watch;
        start(watch);
        QVERIFY(shows(watch, " /com/quorin/system/device/io/output/digital/1 is_on false\n"));
        QVERIFY(shows(watch, " /com/quorin/system/version/serial_number get 1234\\n\n"));
        QVERIFY(shows(watch, " com.quorin.system owner :1."));
        terminal().controller.send(QByteArray::fromHex("3602112200000000"));
        QVERIFY(shows(watch, " /com/quorin/system/device/io/input/digital/1 changed true\n"));
        QVERIFY(shows(watch, " /com/quorin/system/device/io/input/analog/0 val_changed 4.386\n"));
        // Past its first report the service signals no more; the value is read.
        terminal().controller.send(QByteArray::fromHex("3602112300000000"));
        QVERIFY(shows(watch, " /com/quorin/system/device/io/input/analog/0 get_value 4.387\n"));
        terminal().controller.send(QByteArray::fromHex("1c01"));
        QVERIFY(shows(watch, " /com/quorin/system/power/button short_press 1\n"));
        terminal().call(QStringLiteral("device/io/output/digital/1"), QStringLiteral("on"));
        QVERIFY(shows(watch, " /com/quorin/system/device/io/output/digital/1 is_on true\n"));
        watch.signal(SIGTERM);
        QVERIFY(watch.wait_for_end());
        QCOMPARE(watch.exit_status(), 0);
        for (const QByteArray& line : watch.output().trimmed().split('\n'))
            QVERIFY2(line.startsWith("20") && line.count(' ') >= 2, line.constData());
    }

    void json_is_one_object_a_line()
    {
        Daemon_process watch;
        start(watch, {QStringLiteral("--json"), QStringLiteral("--filter"),
                      QStringLiteral("serial_number")});
        QVERIFY(shows(watch, "serial_number"));
        watch.signal(SIGINT);
        QVERIFY(watch.wait_for_end());
        QCOMPARE(watch.exit_status(), 0);
        for (const QByteArray& line : watch.output().trimmed().split('\n')) {
            const QJsonObject object = QJsonDocument::fromJson(line).object();
            QCOMPARE(object.keys(), QStringList({"member", "path", "time", "value"}));
            if (object.value(QLatin1String("member")) == QLatin1String("get"))
                QCOMPARE(object.value(QLatin1String("value")).toString(), QStringLiteral("1234\n"));
        }
    }

    void nothing_is_set_unless_asked_for()
    {
        {
            Daemon_process watch;
            start(watch);
            QVERIFY(shows(watch, "multi_led/19"));
            QCOMPARE(terminal().get(analog_, QStringLiteral("get_time_out")).toUInt(), 0U);
            QCOMPARE(terminal().get(analog_, QStringLiteral("get_hysteresis")).toDouble(), 1e6);
        }
        Daemon_process watch;
        start(watch, {QStringLiteral("--report"), QStringLiteral("200"),
                      QStringLiteral("--hysteresis"), QStringLiteral("0.5")});
        QVERIFY(wait_for([this] {
            return terminal().get(analog_, QStringLiteral("get_time_out")).toUInt() == 200;
        }));
        QCOMPARE(terminal().get(analog_, QStringLiteral("get_hysteresis")).toDouble(), 0.5);
        watch.signal(SIGTERM);
        QVERIFY(watch.wait_for_end());
        QCOMPARE(terminal().get(analog_, QStringLiteral("get_time_out")).toUInt(), 0U);
        QCOMPARE(terminal().get(analog_, QStringLiteral("get_hysteresis")).toDouble(), 1e6);
    }

    void lines_end_with_the_service()
    {
        Daemon_process watch;
        start(watch);
        QVERIFY(shows(watch, "multi_led/19"));
        terminal().daemon.signal(SIGTERM);
        QVERIFY(watch.wait_for_end());
        QCOMPARE(watch.exit_status(), 0);
        QCOMPARE_ENDS(watch.output(), " com.quorin.system owner none\n");
        QCOMPARE(watch.errors(), QByteArray("dov-watch: the service has left the bus\n"));
    }

    void lines_end_with_the_bus()
    {
        Daemon_process watch;
        start(watch);
        QVERIFY(shows(watch, "multi_led/19"));
        terminal().bus.stop();
        QVERIFY(watch.wait_for_end());
        QCOMPARE(watch.exit_status(), 0);
    }

    void lines_can_wait_for_the_service()
    {
        Daemon_process watch;
        start(watch, {QStringLiteral("--gone"), QStringLiteral("wait")});
        QVERIFY(shows(watch, "multi_led/19"));
        terminal().daemon.signal(SIGTERM);
        QVERIFY(shows(watch, " com.quorin.system owner none\n"));
        QVERIFY(terminal().daemon.wait_for_end());
        watch.clear_texts();
        terminal().controller.clear();
        terminal().log.clear();
        terminal().start();
        QVERIFY(shows(watch, " com.quorin.system owner :1."));
        terminal().controller.send(QByteArray::fromHex("3602112200000000"));
        QVERIFY(shows(watch, " /com/quorin/system/device/io/input/digital/1 changed true\n"));
        QVERIFY(watch.is_running());
    }

    void everything_can_be_read_once()
    {
        Daemon_process watch;
        watch.start_program(watch_, terminal().root.path(), terminal().bus.address(),
                            {QStringLiteral("--address"), terminal().bus.address(),
                             QStringLiteral("--once"), QStringLiteral("--json")});
        QVERIFY(watch.wait_for_end());
        QCOMPARE(watch.errors(), QByteArray());
        QCOMPARE(watch.exit_status(), 0);
        QStringList expected;
        for (const Catalogue_object& object : catalogue()) {
            for (const Value_row& value : object.kind->values)
                if (value.getter != nullptr)
                    expected.append(object.path + QLatin1Char(' ') + QLatin1String(value.getter));
        }
        QStringList found;
        for (const QByteArray& line : watch.output().trimmed().split('\n')) {
            const QJsonObject object = QJsonDocument::fromJson(line).object();
            const QString member = object.value(QLatin1String("member")).toString();
            // What changes while it is read is told as well.
            if (member != QLatin1String("owner") && !member.endsWith(QLatin1String("changed")))
                found.append(object.value(QLatin1String("path")).toString() + QLatin1Char(' ') +
                             member);
        }
        expected.sort();
        found.sort();
        QCOMPARE(found, expected);
    }

    void once_without_a_service_says_so()
    {
        terminal().daemon.signal(SIGTERM);
        QVERIFY(terminal().daemon.wait_for_end());
        Daemon_process watch;
        start(watch, {QStringLiteral("--once")});
        QVERIFY(watch.wait_for_end());
        QCOMPARE(watch.errors(), QByteArray("dov-watch: the service is not on the bus\n"));
        QCOMPARE(watch.output(), QByteArray());
        QCOMPARE(watch.exit_status(), 3);
    }

    void once_does_not_wait_for_a_service_that_hangs()
    {
        terminal().daemon.signal(SIGSTOP);
        Daemon_process watch;
        start(watch, {QStringLiteral("--once")});
        const bool has_ended = watch.wait_for_end();
        terminal().daemon.signal(SIGCONT);
        QVERIFY(has_ended);
        QCOMPARE_CONTAINS(watch.errors(), "device/io/input/analog/0 get_value: ");
        QCOMPARE(watch.exit_status(), 4);
    }

    void metrics_are_kept_in_a_file()
    {
        const QString path = terminal().root.path(QStringLiteral("dov.prom"));
        const QString tap = terminal().root.path(QStringLiteral("status.json"));
        terminal().root.write(QStringLiteral("status.json"), "{\"host_frames\": 7}");
        Daemon_process watch;
        start(watch, {QStringLiteral("--metrics"), path, QStringLiteral("--tap"), tap});
        QVERIFY(wait_for([this] { return metrics().contains("\ndov_service_up 1\n"); }));
        QVERIFY(
            wait_for([this] { return metrics().contains("\ndov_line_host_frames_total 7\n"); }));
        terminal().controller.send(QByteArray::fromHex("3602112200000000"));
        QVERIFY(wait_for([this] {
            return metrics().contains(
                "\ndov_analog_input_volts{object=\"device/io/input/analog/0\"} 4.386\n");
        }));
        QVERIFY(QFile::permissions(path).testFlag(QFile::ReadOther));
        QCOMPARE_ENDS(metrics(), "# EOF\n");

        terminal().daemon.signal(SIGTERM);
        QVERIFY(wait_for([this] { return metrics().contains("\ndov_service_up 0\n"); }));
        QCOMPARE_LACKS(metrics(), "dov_analog_input_volts");
        QVERIFY(watch.is_running());

        watch.signal(SIGTERM);
        QVERIFY(watch.wait_for_end());
        QCOMPARE(watch.exit_status(), 0);
        QCOMPARE(watch.output(), QByteArray());
        QVERIFY(!QFile::exists(path));
    }

    void metrics_that_cannot_be_kept_are_told_once()
    {
        Daemon_process watch;
        start(watch, {QStringLiteral("--metrics"),
                      terminal().root.path(QStringLiteral("nowhere/dov.prom"))});
        QVERIFY(wait_for([&watch] { return watch.errors().contains("nowhere/dov.prom: "); }));
        terminal().root.make_directory(QStringLiteral("nowhere"));
        QVERIFY(wait_for([this] {
            return QFile::exists(terminal_->root.path(QStringLiteral("nowhere/dov.prom")));
        }));
        QCOMPARE(static_cast<int>(watch.errors().count('\n')), 1);
    }

    void no_bus_is_an_error()
    {
        Daemon_process watch;
        watch.start_program(
            watch_, terminal().root.path(), terminal().bus.address(),
            {QStringLiteral("--address"),
             QStringLiteral("unix:path=") + terminal().root.path(QStringLiteral("nothing"))});
        QVERIFY(watch.wait_for_end());
        QCOMPARE(watch.exit_status(), 1);
        QCOMPARE_STARTS(watch.errors(), "dov-watch: no bus: ");
    }

    void a_bus_that_does_not_greet_is_an_error_data()
    {
        QTest::addColumn<QStringList>("mode");
        QTest::newRow("lines") << QStringList{"--lines"};
        QTest::newRow("--once") << QStringList{"--once"};
        QTest::newRow("--json") << QStringList{"--json"};
        QTest::newRow("--metrics") << QStringList{"--metrics", "dov.prom"};
        QTest::newRow("screen") << QStringList{};
    }
    void a_bus_that_does_not_greet_is_an_error()
    {
        QFETCH(QStringList, mode);
        const Private_bus bus(0);
        Terminal_screen screen(watch_, mode + QStringList{"--address", bus.address()});
        QVERIFY(ends(screen));
        QCOMPARE_STARTS(screen.output(), "dov-watch: no bus: ");
        QCOMPARE(screen.exit_status(), 1);
    }

    void usage_errors_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("unknown option") << QStringList{"--nonsense"};
        QTest::newRow("bare word") << QStringList{"nonsense"};
        QTest::newRow("short interval") << QStringList{"--interval", "49"};
        QTest::newRow("no number") << QStringList{"--report", "soon"};
        QTest::newRow("unknown end") << QStringList{"--gone", "maybe"};
        QTest::newRow("two ways") << QStringList{"--once", "--metrics", "file"};
    }
    void usage_errors()
    {
        QFETCH(QStringList, arguments);
        Daemon_process watch;
        watch.start_program(watch_, terminal().root.path(), terminal().bus.address(), arguments);
        QVERIFY(watch.wait_for_end());
        QCOMPARE(watch.exit_status(), 2);
        QVERIFY(!watch.errors().isEmpty());
        QCOMPARE_EMPTY(watch.output());
    }

    void screen_shows_values_and_operates_outputs()
    {
        Terminal_screen screen(watch_, arguments());
        QVERIFY(shows(screen, "DIGITAL INPUTS"));
        terminal().controller.send(QByteArray::fromHex("3601112200000000"));
        QVERIFY(shows(screen, "4.386 V"));
        QVERIFY(shows(screen, "\u25B8input 0            \u25CF on"));
        terminal().controller.clear();
        screen.type("/output 3\r");
        // What is not known yet is not switched.
        QVERIFY(shows(screen, "output 3          \u25CB off"));
        screen.type(" ");
        QVERIFY(shows(screen, "output 3           \u25CF on"));
        QVERIFY(wait_for([this] { return terminal().controller.has_received("338080"); }));
        screen.type("b50\r");
        QVERIFY(wait_for([this] { return terminal().controller.has_received("317f"); }));
        screen.type("q");
        QVERIFY(ends(screen));
        QCOMPARE(screen.exit_status(), 0);
    }

    void screen_is_ascii_where_the_locale_is()
    {
        Terminal_screen screen(QStringLiteral("env"),
                               QStringList{"LC_ALL=C", watch_} + arguments());
        QVERIFY(shows(screen, "DIGITAL INPUTS"));
        QVERIFY(shows(screen, ">input 0"));
        screen.type("q");
        QVERIFY(ends(screen));
        const QByteArray& output = screen.output();
        const auto odd = std::find_if(output.begin(), output.end(),
                                      [](char each) { return static_cast<uchar>(each) > 0x7F; });
        QVERIFY2(odd == output.end(), odd == output.end() ? "" : odd);
        QVERIFY2(!output.contains("locale"), output.left(200).constData());
    }

    void screen_follows_the_terminal_and_the_service()
    {
        Terminal_screen screen(watch_, arguments());
        QVERIFY(shows(screen, "up "));
        screen.resize(60, 9);
        QVERIFY(shows(screen, "dov-watch"));
        QVERIFY(shows(screen, "input 0"));
        screen.resize(120, 40);
        QVERIFY(shows(screen, "VERSIONS"));
        terminal().daemon.signal(SIGTERM);
        QVERIFY(shows(screen, "no service, waiting"));
        QVERIFY(terminal().daemon.wait_for_end());
        terminal().controller.clear();
        terminal().log.clear();
        terminal().start();
        QVERIFY(shows(screen, "service :1."));
        terminal().bus.stop();
        QVERIFY(shows(screen, "no bus"));
        screen.type("q");
        QVERIFY(ends(screen));
        QCOMPARE(screen.exit_status(), 0);
    }

    /// Whether a thread has signals blocked: bit n - 1 of the mask is signal n.
    static bool blocks(const QString& task, const QList<int>& numbers)
    {
        QFile status(task + QStringLiteral("/status"));
        if (!status.open(QIODevice::ReadOnly))
            return false;
        const QByteArray text = status.readAll();
        const auto at = text.indexOf("SigBlk:\t") + static_cast<int>(strlen("SigBlk:\t"));
        const quint64 mask = text.mid(at, 16).toULongLong(nullptr, 16);
        return std::all_of(numbers.begin(), numbers.end(),
                           [mask](int number) { return (mask >> (number - 1) & 1) != 0; });
    }

    /// The message bus's thread takes none of them: what it does with one, and when, is not ours.
    void every_thread_leaves_signals_to_the_event_loop()
    {
        Terminal_screen screen(watch_, arguments());
        QVERIFY(shows(screen, "DIGITAL INPUTS"));
        const QString tasks = QStringLiteral("/proc/%1/task").arg(screen.pid());
        const QStringList threads = QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        QCOMPARE_GT(threads.size(), 1);
        for (const QString& thread : threads) {
            QVERIFY2(blocks(tasks + QLatin1Char('/') + thread, {SIGINT, SIGTERM, SIGHUP, SIGWINCH}),
                     qPrintable(thread));
        }
    }

    void every_end_restores_the_terminal_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<int>("status");
        QTest::newRow("SIGTERM") << SIGTERM << 0;
        QTest::newRow("SIGINT") << SIGINT << 0;
        QTest::newRow("SIGHUP") << SIGHUP << 0;
        QTest::newRow("crash") << SIGSEGV << -1;
        QTest::newRow("abort") << SIGABRT << -1;
    }
    void every_end_restores_the_terminal()
    {
        QFETCH(int, number);
        QFETCH(int, status);
        Terminal_screen screen(watch_, arguments());
        QVERIFY(shows(screen, "DIGITAL INPUTS"));
        QVERIFY(!screen.is_restored());
        ::kill(screen.pid(), number);
        QVERIFY(ends(screen));
        QCOMPARE(screen.exit_status(), status);
    }
};

QTEST_GUILESS_MAIN(Program)
#include "program.moc"
