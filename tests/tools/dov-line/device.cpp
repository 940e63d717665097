// dov-line as the host of dov-controller, and of devices that are no good.

#include "Controller_process.h"
#include "Fake_controller.h"
#include "Line_process.h"
#include "Pseudo_terminal.h"
#include "Waiting.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

class Device : public QObject {
    Q_OBJECT

    std::unique_ptr<Controller_process> controller_;

    /// The controller's line, and that it is there.
    QString start(const QStringList& options = {})
    {
        controller_->start(options, false);
        if (!wait_for([this] { return !controller_->devices().isEmpty(); }))
            qFatal("no line");
        return controller_->devices().constLast();
    }

    static QStringList words(const char* text)
    {
        return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    }

    /// Runs it on a device to its end. An answer that is wanted is waited for long: a machine that
    /// is busy with everything else may keep it back.
    static Line_process::Run run(const char* verb, const QString& device, const char* more,
                                 const QStringList& arguments = {})
    {
        return Line_process::run(
            QStringList{QLatin1String(verb), QStringLiteral("--device"), device} + words(more) +
            arguments);
    }

    /// The lines of an output without their times and what depends on them: an answer may be late.
    static QStringList lines(const QString& text)
    {
        QStringList found;
        for (const QString& line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            found.append(
                line.simplified()
                    .section(QLatin1Char(' '), 1)
                    .section(QStringLiteral(", after "), 0, 0)
                    .section(QStringLiteral(" after "), 0, 0)
                    .replace(QLatin1String("(late answer to "), QLatin1String("(answers ")));
        return found;
    }

private Q_SLOTS:
    void init() { controller_ = std::make_unique<Controller_process>(); }
    void cleanup() { controller_.reset(); }

    void send_shows_request_and_answer_data()
    {
        QTest::addColumn<QString>("message");
        QTest::newRow("by name and field") << QStringLiteral("backlight level=127");
        QTest::newRow("by identifier and unit") << QStringLiteral("0x31 level=0x7f");
        QTest::newRow("in decimal, arguments in hexadecimal") << QStringLiteral("49 7f 00");
        QTest::newRow("arguments together") << QStringLiteral("0x31 7f0000");
    }

    void send_shows_request_and_answer()
    {
        QFETCH(QString, message);
        const auto sent =
            run("send", start(), qPrintable(message + QLatin1String(" --wait 20000")));
        QCOMPARE(sent.err, QString());
        QCOMPARE(lines(sent.out),
                 (QStringList{
                     QStringLiteral("#1 host 0x31 display backlight: level 127, second level 0"),
                     QStringLiteral("#2 controller 0x32 display backlight report: level 127, "
                                    "second level 0 (answers #1")}));
        QCOMPARE(sent.status, 0);
        QCOMPARE_CONTAINS(controller_->state(), "backlight 127 0");
    }

    void send_fills_in_what_is_always_the_same()
    {
        const auto sent = run("send", start({QStringLiteral("--configuration=2 4 9")}),
                              "--json configuration oem_code=2 offset=4 access=read --wait 20000");
        QCOMPARE(sent.status, 0);
        const auto object =
            QJsonDocument::fromJson(sent.out.section(QLatin1Char('\n'), 0, 0).toUtf8());
        QCOMPARE(object[QStringLiteral("bytes")].toString(), QStringLiteral("18ef78592d030400550100"
                                                                            "0062"));
        const auto answer =
            QJsonDocument::fromJson(sent.out.section(QLatin1Char('\n'), 1, 1).toUtf8());
        QCOMPARE(
            answer[QStringLiteral("fields")][QStringLiteral("value")][QStringLiteral("number")],
            QJsonValue(9));
        QCOMPARE(answer[QStringLiteral("request")], QJsonValue(1));
    }

    void send_without_an_answer()
    {
        const auto sent = run("send", start({QStringLiteral("--silence=on")}), "--wait 20 0x11");
        QCOMPARE(sent.status, 1);
        QCOMPARE(
            sent.err,
            QStringLiteral("dov-line: no answer to 0x11 hardware version request within 20 ms\n"));
    }

    void send_waits_as_long_as_it_is_told()
    {
        const auto sent = run("send", start({QStringLiteral("--late=700ms")}), "--wait 60000 0x11");
        QCOMPARE(sent.status, 0);
        QCOMPARE_CONTAINS(sent.out, QStringLiteral("(late answer to #1, after "));
    }

    void send_sends_bytes_as_they_are()
    {
        const QString device = start();
        const auto noise = run("send", device, "--wait 20 --bytes", {QStringLiteral("1122 33")});
        QCOMPARE(noise.status, 0);
        QCOMPARE(lines(noise.out), QStringList{QStringLiteral("#1 host skipped 11 22 33")});
        const auto frame = run("send", device, "--bytes 0018ef78591100000000000000e9 --wait 20000");
        QCOMPARE(frame.status, 0);
        QCOMPARE(lines(frame.out).size(), 3);
        // Both runs, whatever the controller made of them.
        QCOMPARE_CONTAINS(controller_->state().constFirst(), "1 commands");
    }

    void send_repeats()
    {
        const auto sent = run("send", start(), "--json --count 3 --interval 150 --wait 20000 0x15");
        QCOMPARE(sent.status, 0);
        QStringList texts = sent.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(texts.size(), 7);
        const QJsonObject summary = QJsonDocument::fromJson(texts.takeLast().toUtf8()).object();
        QCOMPARE(summary[QStringLiteral("requests")], QJsonValue(3));
        QCOMPARE(summary[QStringLiteral("answered")], QJsonValue(3));
        QCOMPARE(summary[QStringLiteral("unanswered")], QJsonValue(0));
        const double last =
            QJsonDocument::fromJson(texts[4].toUtf8())[QStringLiteral("time")].toDouble();
        QVERIFY2(last >= 0.3, qPrintable(texts[4]));
    }

    void send_counts_what_is_missed()
    {
        const auto sent =
            run("send", start({QStringLiteral("--corrupt=next 1")}), "--count 2 --wait 5000 0x15");
        QCOMPARE(sent.status, 1);
        const QString summary = sent.out.section(QLatin1Char('\n'), -2, -2);
        QCOMPARE_STARTS(summary, QStringLiteral("2 requests, 1 answered, 1 not"));
        QCOMPARE_CONTAINS(sent.out, QStringLiteral("controller broken"));
    }

    void what_is_said_is_recorded()
    {
        const QString device = start();
        const QString file = controller_->path(QStringLiteral("recording"));
        QCOMPARE(run("send", device, "--wait 20000 --time absolute 0x11 --record", {file}).status,
                 0);
        const auto read = Line_process::run({QStringLiteral("read"), file});
        QCOMPARE(read.status, 0);
        const QStringList said = lines(read.out);
        QCOMPARE(said.size(), 2);
        QCOMPARE_STARTS(said[0], QLatin1String("#1 host 0x11 hardware version request ("));
        QCOMPARE(said[1],
                 QStringLiteral("#2 controller 0x12 hardware version: revision 20 (answers #1"));
        const auto refused = run("send", device, "0x11 --record /nowhere/recording");
        QCOMPARE(refused.status, 4);
        QCOMPARE(refused.err,
                 QStringLiteral("dov-line: /nowhere/recording: No such file or directory\n"));
    }

    void poll_asks_what_the_daemon_asks()
    {
        const auto polled = run("poll", start(), "--json --count 1 --wait 20000");
        QCOMPARE(polled.status, 0);
        QStringList ids;
        for (const QString& text : polled.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            ids.append(QJsonDocument::fromJson(text.toUtf8())[QStringLiteral("id")].toString());
        QCOMPARE(ids.join(QLatin1Char(' ')),
                 QStringLiteral("0x1b 0x1c 0x21 0x22 0x23 0x24 0x27 0x28 0x19 0x1a 0x11 0x12 "
                                "0x15 0x16 "));
    }

    void poll_asks_what_it_is_given_until_it_is_told_to_end()
    {
        Line_process process;
        process.start({QStringLiteral("poll"), QStringLiteral("--device"), start(),
                       QStringLiteral("--interval"), QStringLiteral("1"), QStringLiteral("--wait"),
                       QStringLiteral("20000"), QStringLiteral("0x11"),
                       QStringLiteral("backlight level=query second_level=query")});
        QVERIFY(wait_for([&] { return process.output().count("0x32 ") >= 3; }));
        process.signal(SIGINT);
        const auto polled = process.end();
        QCOMPARE(polled.status, 0);
        QCOMPARE_CONTAINS(polled.out, QStringLiteral("0x31 display backlight: level 255, "));
        QCOMPARE_CONTAINS(polled.out.section(QLatin1Char('\n'), -2, -2),
                          QStringLiteral(" requests, "));
        QCOMPARE_CONTAINS(controller_->state(), "backlight 254 254");
    }

    void listen_shows_what_comes()
    {
        const QString device = start({QStringLiteral("--digest=20ms")});
        Line_process process;
        process.start({QStringLiteral("listen"), QStringLiteral("--device"), device,
                       QStringLiteral("--id"), QStringLiteral("atx"), QStringLiteral("--count"),
                       QStringLiteral("2")});
        QVERIFY(wait_for([&] {
            controller_->command("atx");
            return !process.is_running();
        }));
        const auto heard = process.end();
        QCOMPARE(heard.status, 0);
        QCOMPARE(heard.out.count(QStringLiteral("controller 0x40 ATX")), 2);
        QCOMPARE(heard.out.count(QLatin1Char('\n')), 2);
    }

    void listen_says_when_too_little_came()
    {
        const QString device = start();
        QCOMPARE(run("listen", device, "--wait 20").status, 1);
        controller_->command("digest 20ms");
        QCOMPARE(run("listen", device, "--wait 60000 --count 2").status, 0);
    }

    void a_device_is_set_as_the_daemon_sets_it_and_put_back()
    {
        // Its end is not raw, so that what the program does can be told from what it found.
        const Pseudo_terminal terminal(Pseudo_terminal::Mode::as_it_comes);
        termios before{};
        QCOMPARE(tcgetattr(terminal.other(), &before), 0);
        QVERIFY((before.c_lflag & ICANON) != 0);
        Line_process process;
        process.start({QStringLiteral("listen"), QStringLiteral("--device"), terminal.device(),
                       QStringLiteral("--baudrate"), QStringLiteral("9600")});
        termios during{};
        QVERIFY(wait_for([&] {
            tcgetattr(terminal.other(), &during);
            return (during.c_lflag & ICANON) == 0 && cfgetospeed(&during) == B9600;
        }));
        QCOMPARE(during.c_cflag & (CSIZE | PARENB | CREAD | CLOCAL),
                 tcflag_t{CS8 | CREAD | CLOCAL});
        QCOMPARE(during.c_iflag & (IXON | ICRNL | ISTRIP), tcflag_t{0});
        process.signal(SIGTERM);
        QCOMPARE(process.end().status, 0);
        termios after{};
        QCOMPARE(tcgetattr(terminal.other(), &after), 0);
        QCOMPARE(after.c_lflag, before.c_lflag);
    }

    void a_hang_up_is_said()
    {
        const QString device = start({QStringLiteral("--digest=20ms")});
        Line_process process;
        process.start({QStringLiteral("listen"), QStringLiteral("--device"), device});
        QVERIFY(wait_for([&] { return process.output().contains("digest"); }));
        controller_->end();
        const auto heard = process.end();
        QCOMPARE(heard.status, 3);
        QCOMPARE(lines(heard.out).last().section(QLatin1Char(' '), 1),
                 QStringLiteral("controller hang-up"));
        QCOMPARE(heard.err, QStringLiteral("dov-line: %1: it has hung up\n").arg(device));
    }

    void a_device_that_another_program_has_is_refused()
    {
        const QString device = start();
        Line_process first;
        first.start({QStringLiteral("listen"), QStringLiteral("--device"), device});
        controller_->command("digest 20ms");
        QVERIFY(wait_for([&] { return first.output().contains("digest"); }));
        const auto second = run("send", device, "0x11");
        QCOMPARE(second.status, 3);
        QCOMPARE(second.err,
                 QStringLiteral("dov-line: %1: another program has locked it\n").arg(device));
        first.signal(SIGINT);
        QCOMPARE(first.end().status, 0);

        // One that does not lock: this test, which has no other end of any line.
        const int descriptor =
            ::open(device.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        const auto third = run("send", device, "0x11");
        ::close(descriptor);
        QCOMPARE(third.status, 3);
        QCOMPARE_ENDS(third.err, QStringLiteral(" (%1) has it open\n").arg(getpid()));
        QCOMPARE(run("send", device, "0x11 --wait 20000").status, 0);
    }

    void a_device_that_is_none_is_said_data()
    {
        QTest::addColumn<QString>("device");
        QTest::addColumn<QString>("why");
        QTest::newRow("missing") << QStringLiteral("/nowhere/line")
                                 << QStringLiteral("No such file or directory");
        QTest::newRow("a file") << QStringLiteral("/dev/null")
                                << QStringLiteral("not a serial device");
        QTest::newRow("a directory") << QStringLiteral("/") << QStringLiteral("Is a directory");
    }

    void a_device_that_is_none_is_said()
    {
        QFETCH(QString, device);
        QFETCH(QString, why);
        for (const char* verb : {"poll", "listen"}) {
            const auto wrong = run(verb, device, "");
            QCOMPARE(wrong.status, 3);
            QCOMPARE(wrong.err, QStringLiteral("dov-line: %1: %2\n").arg(device, why));
            QCOMPARE(wrong.out, QString());
        }
    }

    void a_device_that_takes_nothing_is_said()
    {
        Fake_controller line;
        line.set_listening(false);
        const auto sent = run("send", line.device(), "--wait 0 --count 0 0x11");
        QCOMPARE(sent.status, 3);
        QCOMPARE(
            sent.err,
            QStringLiteral("dov-line: %1: it takes nothing of what is sent\n").arg(line.device()));
    }

    void wrong_usage_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<QString>("complaint");
        const auto row = [](const char* arguments, const char* complaint) {
            QTest::newRow(arguments)
                << QString::fromLatin1(arguments) << QString::fromLatin1(complaint);
        };
        row("listen", "--device is missing");
        row("poll", "--device is missing");
        row("send 0x11", "--device is missing");
        row("send --device x", "send takes a message, or --bytes");
        row("send --device x 0x11 --bytes 11", "send takes a message, or --bytes");
        row("send --device x --bytes 1", "--bytes: \"1\" is not two hexadecimal digits a byte");
        row("send --device x 0x100",
            "\"0x100\" is neither an identifier nor the name of a message");
        row("send --device x light_up",
            "\"light_up\" is neither an identifier nor the name of a message");
        row("send --device x backlight colour=1", "backlight has no field \"colour\"");
        row("send --device x backlight level=256", "\"256\" is no value of level");
        row("send --device x backlight 0",
            "\"0\" is neither FIELD=VALUE nor bytes of two hexadecimal digits");
        row("send --device x backlight level=1 7f", "\"7f\" is not FIELD=VALUE");
        row("send --device x 0x7d level=1", "0x7d unknown: the protocol knows no fields of it");
        row("send --device x 0x7d 0011223344556677", "a message has 7 arguments, not 8");
        row("poll --device x nothing",
            "\"nothing\" is neither an identifier nor the name of a message");
        row("send --device x --wait soon 0x11", "--wait: \"soon\" is no whole number from 0 on");
        row("listen --device x --count 0", "--count: \"0\" is no whole number from 1 on");
        row("listen --device x --id 0x100",
            "--id: \"0x100\" is neither an identifier nor the name of a message");
        row("listen --device x more", "not an option: more");
    }

    void wrong_usage()
    {
        QFETCH(QString, arguments);
        QFETCH(QString, complaint);
        const auto wrong = Line_process::run(arguments.split(QLatin1Char(' ')));
        QCOMPARE(wrong.err, QStringLiteral("dov-line: %1\n").arg(complaint));
        QCOMPARE(wrong.status, 2);
        QCOMPARE(wrong.out, QString());
    }
};

QTEST_GUILESS_MAIN(Device)
#include "device.moc"
