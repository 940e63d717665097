// dov-controller itself, from the host's end of its line.

#include "Command.h"
#include "Controller_process.h"
#include "Pseudo_terminal.h"
#include "Waiting.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <fcntl.h>

class Program : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Controller_process> controller_;

    Controller_process& controller() { return *controller_; }
    Host_end& host() { return controller_->host; }

    bool hears(const QVector<QByteArray>& messages)
    {
        const bool heard = wait_for([&] { return host().messages() == messages; });
        if (!heard)
            qWarning("%s", host().bytes().toHex(' ').constData());
        return heard;
    }

    /// Keeps the line busy for a while by answers that come late: what else comes then is heard.
    bool lets_time_pass()
    {
        controller().command("late 300ms");
        const bool answered = controller().ask("15");
        controller().command("late off");
        return answered;
    }

private Q_SLOTS:
    void init() { controller_ = std::make_unique<Controller_process>(); }
    void cleanup() { controller_.reset(); }

    void answers_every_command()
    {
        controller().start({QStringLiteral("--digest"), QStringLiteral("off")});
        QVector<QByteArray> answers;
        for (const char* id : {"01", "05", "0b", "0d", "11", "15", "19", "1b", "21", "23", "27",
                               "29", "2d", "31", "33", "35", "3d", "3f"})
            QVERIFY2(controller().ask(id), id);
        QCOMPARE(host().messages().size(), 18);
    }

    void takes_no_notice_of_what_is_not_for_it()
    {
        controller().start();
        host().send("7d");
        host().send_bytes(QByteArray::fromHex("18ef59781100000000000000e9"));
        host().send_bytes("noise");
        QVERIFY(controller().ask("11"));
        QCOMPARE(host().messages(), (QVector<QByteArray>{"1214"}));
    }

    void commands_may_come_in_pieces()
    {
        controller().start();
        const QByteArray frame = QByteArray::fromHex("18ef78591100000000000000e9");
        for (const char byte : frame) {
            host().send_bytes(QByteArray(1, byte));
            QCoreApplication::processEvents();
        }
        QVERIFY(hears({"1214"}));
    }

    void options_set_the_state()
    {
        controller().start({QStringLiteral("--generation=legacy"), QStringLiteral("--firmware"),
                            QStringLiteral("1.6.2"), QStringLiteral("--unique-id=01020304050607"),
                            QStringLiteral("--line15=7"), QStringLiteral("--ignition=off"),
                            QStringLiteral("--input"), QStringLiteral("temperature0 -10"),
                            QStringLiteral("--input=voltage0 24000"),
                            QStringLiteral("--configuration=3 4 10"),
                            QStringLiteral("--button=down")});
        for (const char* request : {"11", "15", "19", "05ff", "1b", "2d0404005501"})
            QVERIFY(controller().ask(request));
        QCOMPARE(host().messages(), (QVector<QByteArray>{"120b", "1600020601", "1a01020304050607",
                                                         "0607", "1c01", "2e04040a"}));
        host().clear();
        QVERIFY(controller().ask("27"));
        QCOMPARE_STARTS(host().messages().constLast(), "28f6");
        QVERIFY(controller().ask("21"));
        QCOMPARE_STARTS(host().messages().constLast(), "225dc0");
    }

    void generations_data()
    {
        QTest::addColumn<QVector<QByteArray>>("versions");
        QTest::newRow("legacy") << QVector<QByteArray>{"120b", "1600000501"};
        QTest::newRow("legacy-hardware") << QVector<QByteArray>{"120b", "1600000102"};
        QTest::newRow("legacy-firmware") << QVector<QByteArray>{"1214", "1600000501"};
        QTest::newRow("profile") << QVector<QByteArray>{"1214", "1600070102"};
    }

    void generations()
    {
        QFETCH(QVector<QByteArray>, versions);
        controller().start();
        controller().command(QByteArray("generation ") + QTest::currentDataTag());
        QVERIFY(controller().ask("11"));
        QVERIFY(controller().ask("15"));
        QCOMPARE(host().messages(), versions);
    }

    void digests_come_at_their_interval_until_stopped()
    {
        controller().start({QStringLiteral("--input=analog 2500"),
                            QStringLiteral("--input=light 0"),
                            QStringLiteral("--input=frequency 7")});
        QElapsedTimer clock;
        clock.start();
        host().send("3501"); // every 50 ms
        WAIT_UNTIL(host().count("36"), >=, 11);
        // The first one is the answer.
        QVERIFY2(clock.elapsed() >= 480, qPrintable(QString::number(clock.elapsed())));
        for (const QByteArray& message : host().messages())
            QCOMPARE(QByteArray::fromHex(message).mid(2).toHex(), QByteArray("09c400000007"));
        QVERIFY(controller().ask("3500"));
        QVERIFY(lets_time_pass());
        host().clear();
        QVERIFY(lets_time_pass());
        QCOMPARE(host().count("36"), 0);
    }

    void pushes_what_it_is_told_to()
    {
        controller().start();
        for (const char* command :
             {"input digital0 1", "input digital1 0", "input digital2 1", "input digital3 0",
              "input analog 256", "input light 1", "button press", "ignition off", "ignition on",
              "atx", "report 0x10", "report 0x1e", "report 0x20", "send 7d 01"})
            controller().command(command);
        QVERIFY(hears({"1c01", "0601", "0601000001", "40", "1005", "1e01", "200001", "7d01"}));
    }

    void silence()
    {
        controller().start();
        controller().command("silence on");
        host().send("11");
        controller().wait_for_commands(1);
        controller().command("atx");
        controller().command("silence off");
        QVERIFY(controller().ask("15"));
        QCOMPARE(host().messages(), (QVector<QByteArray>{"1600070102"}));
        QElapsedTimer clock;
        clock.start();
        controller().command("silence 300ms");
        QVERIFY(wait_for([this] {
            host().send("11");
            return host().count("12") > 0;
        }));
        QCOMPARE_GE(clock.elapsed(), 299); // in whole milliseconds
    }

    void late_answers_do_not_hold_up_digests()
    {
        controller().start();
        controller().command("late 1min");
        host().send("11");
        controller().wait_for_commands(1);
        controller().command("atx");
        QVERIFY(hears({"40"}));
        QElapsedTimer clock;
        clock.start();
        controller().command("late 300ms");
        QVERIFY(controller().ask("15"));
        QCOMPARE_GE(clock.elapsed(), 299); // in whole milliseconds
        QCOMPARE(host().messages(), (QVector<QByteArray>{"40", "1600070102"}));
    }

    void corrupted_checksums()
    {
        controller().start();
        controller().command("corrupt next 2");
        for (int i = 0; i < 2; ++i)
            host().send("11");
        QVERIFY(controller().ask("15"));
        QCOMPARE(host().messages(), (QVector<QByteArray>{"1600070102"}));
        const QByteArray spoiled = QByteArray::fromHex("18ef5978121400000000000001");
        QCOMPARE_STARTS(host().bytes(), spoiled + spoiled);
        host().clear();
        controller().command("corrupt rate 100");
        host().send("11");
        WAIT_UNTIL(host().bytes().size(), ==, 13);
        QCOMPARE(host().bytes(), spoiled);
    }

    void wrong_addresses()
    {
        controller().start();
        controller().command("addresses 0x78 0x59");
        host().send("11");
        WAIT_UNTIL(host().bytes().size(), ==, 13);
        QCOMPARE(host().bytes(), QByteArray::fromHex("18ef78591214000000000000fe"));
        controller().command("addresses off");
        QVERIFY(controller().ask("11"));
    }

    void garbage_bursts()
    {
        controller().start();
        controller().command("garbage 500");
        QVERIFY(controller().ask("11"));
        QCOMPARE(host().bytes().size(), 513);
        const QByteArray first = host().bytes().left(500);
        host().clear();
        // The same seed draws the same.
        controller().command("seed 5489");
        controller().command("garbage 500");
        WAIT_UNTIL(host().bytes().size(), ==, 500);
        QCOMPARE(host().bytes(), first);
    }

    void split_frames()
    {
        controller().start();
        // The first piece comes by itself,
        controller().command("split 5 1min");
        host().send("11");
        WAIT_UNTIL(host().bytes().size(), ==, 5);
        controller().command("restart");
        host().clear();
        // and nothing between the pieces.
        controller().command("split 5 100ms");
        QElapsedTimer clock;
        clock.start();
        host().send("11");
        QVERIFY(wait_for([this] { return !host().bytes().isEmpty(); }));
        controller().command("atx");
        QVERIFY(hears({"1214", "40"}));
        QCOMPARE_GE(clock.elapsed(), 399); // in whole milliseconds
    }

    void double_answers()
    {
        controller().start();
        controller().command("double on");
        QVERIFY(controller().ask("11"));
        controller().command("atx");
        QVERIFY(hears({"1214", "1214", "40"}));
    }

    void disconnection()
    {
        const QString link = controller().path(QStringLiteral("line"));
        controller().start({QStringLiteral("--link"), link});
        QCOMPARE(QFile::symLinkTarget(link), controller().devices().constFirst());
        controller().command("disconnect");
        QVERIFY(wait_for([this] { return host().is_hung_up(); }));
        QVERIFY(!QFileInfo(link).isSymLink());
        host().close();
        controller().command("connect");
        QCOMPARE(controller().devices().size(), 2);
        QCOMPARE(QFile::symLinkTarget(link), controller().devices().constLast());
        QVERIFY(host().open(link));
        QVERIFY(controller().ask("11"));
        controller().write("disconnect 100ms\n");
        WAIT_UNTIL(controller().devices().size(), ==, 3);
        QVERIFY(host().open(link));
        QVERIFY(controller().ask("11"));
    }

    void healthy_ends_faults()
    {
        controller().start();
        for (const char* command : {"silence on", "late 10s", "corrupt rate 100", "addresses 1 2",
                                    "split 1 1s", "double on", "disconnect"})
            controller().command(command);
        controller().command("healthy");
        QVERIFY(host().open(controller().devices().constLast()));
        host().clear();
        QVERIFY(controller().ask("11"));
        QCOMPARE(host().messages(), (QVector<QByteArray>{"1214"}));
    }

    void restart_brings_the_first_state_back()
    {
        controller().start({QStringLiteral("--line15=4")});
        const auto before = controller().state();
        for (const char* request : {"05020205", "3300aa", "3d09", "2d030414aa01", "3101", "0d01"})
            QVERIFY(controller().ask(request));
        QVERIFY(controller().ask("3501"));
        QCOMPARE_NE(controller().state().mid(1), before.mid(1));
        controller().command("restart");
        QCOMPARE(controller().state().mid(1), before.mid(1));
    }

    void errors_on_standard_input_are_told_and_passed_over()
    {
        controller().start();
        controller().write("bogus\n\n# nothing\n  hardware 300\n");
        controller().command("hardware 11");
        WAIT_UNTIL(controller().errors().count('\n'), ==, 2);
        QCOMPARE(controller().errors(),
                 QByteArray("standard input:1:1: there is no command \"bogus\"\n"
                            "standard input:4:12: \"300\" is not a revision from 0 to 255\n"));
        QVERIFY(controller().ask("11"));
        QCOMPARE(host().messages(), (QVector<QByteArray>{"120b"}));
    }

    void goes_on_when_standard_input_ends()
    {
        controller().start();
        controller().process.closeWriteChannel();
        QVERIFY(controller().ask("11"));
    }

    void ends_by_signal_and_leaves_nothing()
    {
        const QString link = controller().path(QStringLiteral("line"));
        // A link that leads nowhere is replaced.
        QVERIFY(QFile::link(QStringLiteral("/nowhere"), link));
        controller().start({QStringLiteral("--link"), link});
        QCOMPARE(QFile::symLinkTarget(link), controller().devices().constFirst());
        controller().end();
        QCOMPARE(controller().process.exitCode(), 0);
        QVERIFY(QDir(controller().path(QString())).isEmpty());
    }

    void quits_by_command()
    {
        controller().start();
        controller().write("quit\n");
        QVERIFY(controller().wait_for_end());
        QCOMPARE(controller().process.exitCode(), 0);
    }

    void plays_a_script()
    {
        controller().write_file(QStringLiteral("drive"), "0s hardware 11\n"
                                                         "0s send 7d 01\n"
                                                         "200ms ignition off\n"
                                                         "+200ms button press\n");
        QElapsedTimer clock;
        clock.start();
        controller().start({QStringLiteral("--wait"), QStringLiteral("--exit-at-end"),
                            QStringLiteral("--script"),
                            controller().path(QStringLiteral("drive"))});
        QVERIFY(controller().ask("11"));
        WAIT_UNTIL(host().messages().size(), ==, 4);
        QCOMPARE_GE(clock.elapsed(), 400);
        QVERIFY(controller().wait_for_end());
        // The step at 0 s comes before or after the answer, with the host's first bytes.
        QCOMPARE(host().count("7d01"), 1);
        QCOMPARE(host().messages().mid(2), (QVector<QByteArray>{"0601", "1c01"}));
    }

    void plays_a_script_again_and_again()
    {
        controller().write_file(QStringLiteral("loop"), "0s send 7d 01\n"
                                                        "50ms send 7d 02\n");
        controller().start({QStringLiteral("--wait"), QStringLiteral("--loop"),
                            QStringLiteral("--script"), controller().path(QStringLiteral("loop"))});
        host().send("11");
        WAIT_UNTIL(host().count("7d"), >=, 8);
        QCOMPARE_GE(host().count("7d01"), 4);
        QCOMPARE_GE(host().count("7d02"), 3);
    }

    void a_bad_script_is_refused()
    {
        const QString script = controller().path(QStringLiteral("bad"));
        controller().write_file(QStringLiteral("bad"), "0s atx\n1s igniton on\n");
        QVERIFY(controller().run({QStringLiteral("--script"), script}));
        QCOMPARE(controller().process.exitCode(), 1);
        QCOMPARE(controller().errors(),
                 script.toLocal8Bit() + ":2:4: there is no command \"igniton\"\n");
        QCOMPARE_EMPTY(controller().output());
    }

    void replays_what_it_recorded()
    {
        const QString file = controller().path(QStringLiteral("recording"));
        const QStringList seed = {QStringLiteral("--seed=3")};
        controller().start(seed + QStringList{QStringLiteral("--record"), file});
        QVERIFY(controller().ask("3501"));
        for (const char* command : {"garbage 40", "corrupt next 1", "split 4 5ms", "button press",
                                    "split off", "double on", "addresses 1 2"})
            controller().command(command);
        host().send("11");
        controller().command("addresses off");
        QVERIFY(controller().ask("15"));
        WAIT_UNTIL(host().count("36"), >=, 10);
        QVERIFY(controller().ask("3500"));
        controller().command("double off");
        QVERIFY(lets_time_pass());
        const QByteArray heard = host().bytes();
        controller().end();

        const QByteArray text = controller().read(QStringLiteral("recording"));
        QCOMPARE_CONTAINS(text, " host       18ef78591100000000000000e9  # hardware version "
                                "request\n");
        QCOMPARE_CONTAINS(text, "# firmware version: firmware v2.1.7\n");
        const QRegularExpression form(
            QStringLiteral("^(#.*|\\d+\\.\\d{6} (controller|host      ) ([0-9a-f]{2})+  # .*)$"));
        for (const QByteArray& line : text.trimmed().split('\n'))
            QVERIFY2(form.match(QString::fromLatin1(line)).hasMatch(), line.constData());

        for (const char* speed : {"0", "1", "3"}) {
            Controller_process player;
            player.start({QStringLiteral("--wait"), QStringLiteral("--exit-at-end"),
                          QStringLiteral("--speed"), QString::fromLatin1(speed),
                          QStringLiteral("--replay"), file});
            QElapsedTimer clock;
            clock.start();
            player.host.send("11"); // not answered, but the sign to begin
            QVERIFY(player.wait_for_end());
            QCOMPARE(player.process.exitCode(), 0);
            WAIT_UNTIL(player.host.bytes().size(), >=, heard.size());
            QCOMPARE(player.host.bytes(), heard);
            const int factor = QByteArray(speed).toInt();
            QVERIFY(factor == 0 || clock.elapsed() >= 700 / factor);
        }
    }

    void a_replay_waits_for_a_slow_host()
    {
        QByteArray text;
        for (int i = 0; i < 3000; ++i)
            text.append("0 controller 18ef597812")
                .append(QByteArray::number(10 + i % 90))
                .append("000000000000fa\n");
        controller().write_file(QStringLiteral("long"), text);
        controller().start({QStringLiteral("--speed=0"), QStringLiteral("--exit-at-end"),
                            QStringLiteral("--replay"), controller().path(QStringLiteral("long"))},
                           false);
        // The host comes when the line has long been full.
        QVERIFY(wait_for([this] { return !controller().devices().isEmpty(); }));
        QVERIFY(host().open(controller().devices().constLast()));
        WAIT_UNTIL(host().bytes().size(), ==, 3000 * 13);
        QVERIFY(controller().wait_for_end());
    }

    void takes_a_given_device()
    {
        Pseudo_terminal line(Pseudo_terminal::Mode::as_it_comes);
        controller().start(
            {QStringLiteral("--device"), line.device(), QStringLiteral("--baudrate=9600")}, false);
        QVERIFY(wait_for([&] { return controller().devices() == QStringList{line.device()}; }));
        host().take(fcntl(line.own(), F_DUPFD_CLOEXEC, 0)); // which the host closes
        QVERIFY(controller().ask("11"));
        controller().command("disconnect");
        controller().command("connect");
        QVERIFY(controller().ask("15"));
        host().close();
        line.close();
        QVERIFY(wait_for([this] { return controller().errors().contains(" is gone\n"); }));
        controller().end();
        QCOMPARE(controller().process.exitCode(), 0);
    }

    void wrong_usage_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("error");
        const auto row = [](const char* arguments, int status, const char* error) {
            QTest::newRow(arguments)
                << QString::fromLatin1(arguments).split(QLatin1Char(' ')) << status
                << QByteArray("dov-controller: ").append(error).append('\n');
        };
        row("--bogus", 2, "Unknown option 'bogus'.");
        row("bogus", 2, "not an option: bogus");
        row("--late=soon", 2,
            "--late: column 1: \"soon\" is not a time: a number with ms, s or min");
        row("--speed=-1", 2, "--speed takes a number from 0 on");
        row("--speed=fast", 2, "--speed takes a number from 0 on");
        row("--baudrate=x", 2, "--baudrate takes a number above 0");
        row("--link=a --device=b", 2, "--link is for a pseudo terminal, not for --device");
        row("--script=a --replay=b", 2, "--script and --replay do not go together");
        row("--device=/nowhere", 1, "/nowhere: No such file or directory");
        row("--script=/nowhere", 1, "/nowhere: No such file or directory");
        row("--replay=/nowhere", 1, "/nowhere: No such file or directory");
        row("--record=/nowhere/x", 1, "/nowhere/x: No such file or directory");
        row("--link=/dev/null", 1, "/dev/null is there and no symbolic link");
        row("--link=/nowhere/x", 1, "/nowhere/x: No such file or directory");
    }

    void wrong_usage()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QByteArray, error);
        QVERIFY(controller().run(arguments));
        QCOMPARE(controller().process.exitCode(), status);
        QCOMPARE(controller().errors(), error);
        QCOMPARE_EMPTY(controller().output());
    }

    void help_tells_every_command()
    {
        QVERIFY(controller().run({QStringLiteral("--help")}));
        QCOMPARE(controller().process.exitCode(), 0);
        for (const Command_kind& kind : command_kinds()) {
            QCOMPARE_CONTAINS(controller().output(), QByteArray("\n  ") + kind.name + ' ');
            QCOMPARE(controller().output().contains(QByteArray("\n  --") + kind.name + ' '),
                     kind.is_option);
        }
    }

    void version()
    {
        QVERIFY(controller().run({QStringLiteral("--version")}));
        QCOMPARE(controller().process.exitCode(), 0);
        QCOMPARE_STARTS(controller().output(), "dov-controller ");
    }

    void the_examples_are_good()
    {
        const QDir examples(QStringLiteral(DOV_CONTROLLER_EXAMPLES));
        const QStringList names = examples.entryList(QDir::Files);
        QVERIFY(!names.isEmpty());
        for (const QString& name : names) {
            Controller_process checker;
            QVERIFY(checker.run(
                {QStringLiteral("--check"), QStringLiteral("--script"), examples.filePath(name)}));
            QCOMPARE(checker.errors(), QByteArray());
            QCOMPARE(checker.process.exitCode(), 0);
        }
    }

    void the_manual_tells_every_command_and_input()
    {
        QFile manual(QStringLiteral(DOV_CONTROLLER_MANUAL));
        QVERIFY(manual.open(QIODevice::ReadOnly));
        const QByteArray text = manual.readAll();
        for (const Command_kind& kind : command_kinds()) {
            const QByteArray form = QByteArray(kind.name) + ' ' + kind.arguments;
            QCOMPARE_CONTAINS(text, "`" + form.trimmed().replace("|", "\\|") + "`");
        }
    }
};

QTEST_GUILESS_MAIN(Program)
#include "program.moc"
