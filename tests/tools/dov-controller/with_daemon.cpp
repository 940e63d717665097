// dov-controller and the daemon: every generation, every fault, and both ways of the line.

#include "Controller_process.h"
#include "Terminal.h"

#include <csignal>
#include <map>
#include <memory>
#include <tuple>
#include <utility>

class With_daemon : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Controller_process> controller_;
    std::unique_ptr<Terminal> terminal_;

    /// Both of each generation that has not been looked at yet.
    std::map<QByteArray, std::pair<std::unique_ptr<Controller_process>, std::unique_ptr<Terminal>>>
        generations_;

    void start(const QStringList& more = {})
    {
        const QString link = controller_->path(QStringLiteral("line"));
        controller_->start(QStringList{QStringLiteral("--link"), link} + more, false);
        QVERIFY(wait_for([this] { return !controller_->devices().isEmpty(); }));
        terminal_->root.write(QStringLiteral("etc/oem_profile.conf"),
                              "<profile><code>3</code></profile>");
        terminal_->start({QStringLiteral("--port"), link});
    }

    /// Whether a failure asks them what they have seen.
    void set_asked(bool asked)
    {
        controller_->set_asked(asked);
        terminal_->set_asked(asked);
        terminal_->daemon.set_asked(asked);
    }

    /// A daemon finds the generation out three seconds after its start: all of them start at once.
    void start_generations()
    {
        for (const char* name : {"legacy", "legacy-hardware", "legacy-firmware", "profile"}) {
            init();
            start({QStringLiteral("--generation"), QLatin1String(name),
                   QStringLiteral("--configuration=3 4 10")});
            set_asked(false);
            generations_[name] = {std::move(controller_), std::move(terminal_)};
        }
    }

    bool logs(const QString& line)
    {
        const bool found = wait_for([&] { return terminal_->log.lines().contains(line); });
        if (!found)
            qWarning("%s", qPrintable(terminal_->log.lines().join(QLatin1Char('\n'))));
        return found;
    }

    bool controller_reaches(const QByteArray& state)
    {
        return wait_for([&] { return controller_->state().contains(state); });
    }

    QVariant analog()
    {
        return terminal_->get(QStringLiteral("device/io/input/analog/0"),
                              QStringLiteral("get_value"));
    }

    /// Whether commands and reports get through, in both directions.
    bool works()
    {
        static int turn = 0;
        const int level = 100 + ++turn;
        controller_->command("input analog " + QByteArray::number(level));
        if (!wait_for([&] { return qFuzzyCompare(analog().toDouble(), level / 1000.0); }))
            return false;
        const bool on = turn % 2 == 0;
        terminal_->call(QStringLiteral("device/io/output/digital/2"),
                        on ? QStringLiteral("on") : QStringLiteral("off"));
        return controller_reaches(on ? "output 2 on" : "output 2 off");
    }

    /// What the daemon says at its start, up to the answer to its last request.
    QByteArray recorded_start()
    {
        start({QStringLiteral("--record"), controller_->path(QStringLiteral("start"))});
        const QByteArray last_request = "18ef78593502000000000000"
                                        "0f";
        QByteArray text;
        const bool is_whole = wait_for([&] {
            text = controller_->read(QStringLiteral("start"));
            const auto answer =
                text.indexOf(" controller 18ef597836", text.lastIndexOf(last_request));
            const auto end = text.indexOf('\n', answer);
            text.truncate(end + 1);
            return text.count(last_request) == 3 && answer >= 0 && end >= 0;
        });
        if (!is_whole)
            report::give_up("the daemon does not start up");
        return text;
    }

private Q_SLOTS:
    void init()
    {
        controller_ = std::make_unique<Controller_process>();
        terminal_ = std::make_unique<Terminal>();
    }

    void cleanup()
    {
        terminal_.reset();
        controller_.reset();
    }
    void cleanupTestCase() { generations_.clear(); }

    void generations_data()
    {
        QTest::addColumn<QStringList>("log");
        QTest::addColumn<QStringList>("versions"); // hardware, firmware
        QTest::addColumn<QList<QByteArray>>("state");
        const QString line_15 = QStringLiteral("Line 15 mode changed to 1");
        QTest::newRow("legacy")
            << QStringList{QStringLiteral("Legacy PMC FW detected. Current Line 15 mode is 1"),
                           line_15}
            << QStringList{QStringLiteral("v1.1"), QStringLiteral("v1.5.0")}
            << QList<QByteArray>{"line15 2"};
        QTest::newRow("legacy-hardware")
            << QStringList{QStringLiteral(
                               "Legacy PMC Hardware detected. Current Line 15 mode is 1"),
                           line_15}
            << QStringList{QStringLiteral("v1.1"), QStringLiteral("v2.1.0")}
            << QList<QByteArray>{"line15 2"};
        QTest::newRow("legacy-firmware")
            << QStringList{QStringLiteral("Legacy PMC FW detected. Current Line 15 mode is 1"),
                           line_15}
            << QStringList{QStringLiteral("v2.0"), QStringLiteral("v1.5.0")}
            << QList<QByteArray>{"line15 2"};
        QTest::newRow("profile")
            << QStringList{QStringLiteral("OEM Profile based PMC FW detected"),
                           QStringLiteral("OEM Remote Power up Delay detected. Is currently 10"),
                           QStringLiteral("OEM Remote Power up Delay changed to 15"),
                           QStringLiteral("OEM code was set to 3")}
            << QStringList{QStringLiteral("v2.0"), QStringLiteral("v2.1.7")}
            << QList<QByteArray>{"line15 1", "oem 3", "configuration 3 4 15"};
    }

    void generations()
    {
        QFETCH(QStringList, log);
        QFETCH(QStringList, versions);
        QFETCH(QList<QByteArray>, state);
        if (generations_.empty())
            start_generations();
        std::tie(controller_, terminal_) = std::move(generations_.at(QTest::currentDataTag()));
        set_asked(true);
        for (const QString& line : log)
            QVERIFY(logs(line));
        for (const QByteArray& line : state)
            QVERIFY2(controller_reaches(line), line.constData());
        const QString get = QStringLiteral("get");
        QCOMPARE(terminal_->get(QStringLiteral("version/hardware"), get), versions[0]);
        QCOMPARE(terminal_->get(QStringLiteral("version/bootloader"), get), versions[1]);
        QCOMPARE(terminal_->get(QStringLiteral("version/unique_device_id"), get),
                 QStringLiteral("001FA0FF010203"));
    }

    void faults_pass_data()
    {
        QTest::addColumn<QByteArray>("fault");
        for (const char* fault :
             {"silence on", "silence 500ms", "late 350ms", "late 1s", "corrupt next 20",
              "corrupt rate 50", "corrupt rate 100", "addresses 0x78 0x59", "garbage 2000",
              "split 1 2ms", "split 6 30ms", "double on"})
            QTest::newRow(fault) << QByteArray(fault);
    }

    void faults_pass()
    {
        QFETCH(QByteArray, fault);
        start();
        QVERIFY(works());
        controller_->command(fault);
        // Several commands of the daemon's meet the fault, one after the other.
        const int before = controller_->commands();
        for (int i = 0; i < 4; ++i)
            terminal_->call(QStringLiteral("device/operating_voltage"),
                            QStringLiteral("set_operating_voltage"), {uint(i)});
        WAIT_UNTIL(controller_->commands(), >=, before + 4);
        controller_->command("healthy");
        QVERIFY(works());
    }

    void wrong_addresses_and_checksums_are_seen_by_the_daemon()
    {
        start({QStringLiteral("--addresses=0x78 0x59")});
        QVERIFY(wait_for([this] {
            return terminal_->daemon.output().contains("Src/Dest test failed 78:59 59:78\n");
        }));
        controller_->command("corrupt rate 100");
        QVERIFY(
            wait_for([this] { return terminal_->daemon.output().contains("Checksum failed"); }));
    }

    void the_bus_answers_after_a_disconnection()
    {
        start();
        QVERIFY(works());
        controller_->command("disconnect 100ms");
        WAIT_UNTIL(controller_->devices().size(), ==, 2);
        QVERIFY(analog().isValid());
        QVERIFY(terminal_->daemon.is_running());
        QCOMPARE_EMPTY(terminal_->root.systemctl_calls());
    }

    void pushed_messages_become_signals()
    {
        start();
        QVERIFY(works());
        const auto has_signal = [this](const char* path, const char* member) {
            return wait_for([&] {
                const auto& seen = terminal_->seen_signals();
                return std::any_of(seen.begin(), seen.end(), [&](const Terminal::Signal& signal) {
                    return signal.path == QLatin1String(path) &&
                           signal.member == QLatin1String(member);
                });
            });
        };
        controller_->command("button press");
        QVERIFY(has_signal("power/button", "short_press"));
        controller_->command("ignition off");
        QVERIFY(has_signal("power/ignition", "changed"));
        controller_->command("atx");
        QVERIFY(has_signal("atx", "received"));
        QVERIFY(has_signal("device/io/input/digital/0", "changed"));
    }

    void the_backlight_is_read_back()
    {
        start({QStringLiteral("--backlight=127")});
        const QString path = QStringLiteral("device/display/backlight");
        const auto is_level = [&](double level) {
            return wait_for([&] {
                const double read =
                    terminal_->get(path, QStringLiteral("get_brightness")).toDouble();
                return qFuzzyCompare(read, level);
            });
        };
        QVERIFY(is_level(50)); // what the daemon asked for at its start
        terminal_->call(path, QStringLiteral("set_brightness"), {100.0});
        QVERIFY(controller_reaches("backlight 254 0"));
        QVERIFY(is_level(100));
    }

    void the_daemon_says_again_what_was_recorded_data()
    {
        QTest::addColumn<bool>("is_same");
        QTest::newRow("the same") << true;
        QTest::newRow("another brightness") << false;
    }

    void the_daemon_says_again_what_was_recorded()
    {
        QFETCH(bool, is_same);
        QByteArray recording = recorded_start();
        QCOMPARE(recording.count("18ef785935020000"), 3);
        terminal_ = std::make_unique<Terminal>();
        controller_ = std::make_unique<Controller_process>();
        if (!is_same)
            recording.replace("18ef785931ffff000000000007", "18ef785931fffe000000000006");
        recording.prepend("#! expect within 1min\n");
        // A start that takes long has the next poll in it.
        for (const char* poll : {"0x1b", "0x21", "0x23", "0x27", "0x19", "0x11", "0x15"})
            recording.prepend(QByteArray("#! expect ignore ") + poll + '\n');
        controller_->write_file(QStringLiteral("start"), recording);
        const QString link = controller_->path(QStringLiteral("line"));
        controller_->start({QStringLiteral("--link"), link, QStringLiteral("--replay"),
                            controller_->path(QStringLiteral("start")), QStringLiteral("--wait"),
                            QStringLiteral("--expect")},
                           false);
        QVERIFY(wait_for([this] { return !controller_->devices().isEmpty(); }));
        terminal_->launch({QStringLiteral("--port"), link});
        QVERIFY(controller_->wait_for_end());
        QCOMPARE(controller_->errors().contains("the host says something else"), !is_same);
        QCOMPARE(controller_->process.exitCode(), is_same ? 0 : 1);
    }

    void the_end_of_the_daemon_ends_the_digests()
    {
        start();
        QVERIFY(controller_reaches("digest 100ms"));
        terminal_->daemon.signal(SIGTERM);
        QVERIFY(terminal_->daemon.wait_for_end());
        QVERIFY(controller_reaches("digest off"));
    }
};

QTEST_GUILESS_MAIN(With_daemon)
#include "with_daemon.moc"
