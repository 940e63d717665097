// dov-controller --replay --expect: the host has to say again what it says in the recording.

#include "Controller_process.h"
#include "Waiting.h"

namespace {

/// Hardware version, backlight, and a report between them.
const QByteArray recording =
    "#! began 2026-11-21T08:15:30.250Z\n"
    "1.000000 host       18ef78591100000000000000e9  # hardware version request\n"
    "1.000200 controller 18ef59781214000000000000fe\n"
    "1.050000 controller 18ef59783601138804d2030083\n"
    "1.100000 host       18ef7859317f00000000000088  # display backlight\n"
    "1.100200 controller 18ef5978327f00000000000089\n";

} // namespace

class Expect : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Controller_process> controller_;

    Host_end& host() { return controller_->host; }

    /// Replays a recording to a host that says each of these messages, the next when the one
    /// before has been answered; the status.
    int replay(const QByteArray& content, const QVector<QByteArray>& messages,
               const QStringList& more = {})
    {
        controller_->write_file(QStringLiteral("line"), content);
        controller_->start(QStringList{QStringLiteral("--replay"),
                                       controller_->path(QStringLiteral("line")),
                                       QStringLiteral("--expect"), QStringLiteral("--wait")} +
                           more);
        for (const QByteArray& message : messages) {
            const QByteArray answer =
                QByteArray(1, static_cast<char>(QByteArray::fromHex(message)[0] + 1)).toHex();
            const auto before = host().count(answer.constData());
            host().send(message);
            const bool goes_on = wait_for([&] {
                return host().count(answer.constData()) > before ||
                       controller_->process.state() == QProcess::NotRunning ||
                       !more.isEmpty(); // does not wait
            });
            if (!goes_on)
                qFatal("neither an answer nor an end");
        }
        if (!controller_->wait_for_end())
            qFatal("it does not end");
        return controller_->process.exitCode();
    }

    static QByteArray with(const QByteArray& directives) { return directives + recording; }

private Q_SLOTS:
    void init() { controller_ = std::make_unique<Controller_process>(); }
    void cleanup() { controller_.reset(); }

    void a_host_that_says_the_same_passes()
    {
        QCOMPARE(replay(recording, {"11", "317f"}), 0);
        QCOMPARE(controller_->errors(), QByteArray());
        QCOMPARE(host().messages(), (QVector<QByteArray>{"1214", "3601138804d203", "327f"}));
    }

    void what_differs_is_shown()
    {
        QCOMPARE(replay(recording, {"11", "3180"}), 1);
        QCOMPARE(controller_->errors(),
                 QByteArray("dov-controller: ") +
                     controller_->path(QStringLiteral("line")).toLocal8Bit() +
                     ":5: the host says something else\n"
                     "  expected 18 ef 78 59 31 7f 00 00 00 00 00 00 88  # display backlight: "
                     "level 127, second level 0\n"
                     "  came     18 ef 78 59 31 80 00 00 00 00 00 00 89  # display backlight: "
                     "level 128, second level 0\n");
    }

    void what_does_not_come_is_shown()
    {
        QCOMPARE(replay(with("#! expect within 50ms\n"), {"11"}), 1);
        QCOMPARE(controller_->errors(),
                 QByteArray("dov-controller: ") +
                     controller_->path(QStringLiteral("line")).toLocal8Bit() +
                     ":6: the host says something else\n"
                     "  expected 18 ef 78 59 31 7f 00 00 00 00 00 00 88  # display backlight: "
                     "level 127, second level 0\n"
                     "  came     nothing, 50 ms later than recorded\n");
    }

    void a_host_that_is_ahead_is_followed()
    {
        // Both at once: the answer and the report between them go out before the second answer.
        QCOMPARE(replay(recording, {"11", "317f"}, {QStringLiteral("--verbose")}), 0);
        QVERIFY(wait_for([this] { return host().messages().size() == 3; }));
        QCOMPARE(host().messages(), (QVector<QByteArray>{"1214", "3601138804d203", "327f"}));
    }

    void lines_of_the_same_time_stay_in_their_order()
    {
        // A report before the request: it does not wait for it.
        QCOMPARE(replay("1 host 18ef78591100000000000000e9\n"
                        "1 controller 18ef59781214000000000000fe\n"
                        "1 controller 18ef59783601138804d2030083\n"
                        "1 host 18ef7859317f00000000000088\n"
                        "1 controller 18ef5978327f00000000000089\n",
                        {"11", "317f"}),
                 0);
        QCOMPARE(host().messages(), (QVector<QByteArray>{"1214", "3601138804d203", "327f"}));
    }

    void what_is_loosened_passes_data()
    {
        QTest::addColumn<QByteArray>("directives");
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<int>("status");
        const auto row = [](const char* name, const char* directives, const char* message,
                            int status) {
            QTest::newRow(name) << QByteArray(directives) << QByteArray(message) << status;
        };
        row("nothing", "", "3180", 1);
        row("a message", "#! expect any backlight\n", "31fe12", 0);
        row("a message, by its identifier", "#! expect any 0x31\n", "31fe12", 0);
        row("another message", "#! expect any digital_outputs\n", "3180", 1);
        row("another kind of message", "#! expect any backlight\n", "3380", 1);
        row("a field", "#! expect any backlight.level\n", "31fe", 0);
        row("another field", "#! expect any backlight.second_level\n", "31fe", 1);
        row("both fields", "#! expect any backlight.second_level\n#! expect any backlight.level\n",
            "31fe12", 0);
        row("near", "#! expect near backlight.level 3\n", "3182", 0);
        row("near, from below", "#! expect near backlight.level 3\n", "317c", 0);
        row("not near", "#! expect near backlight.level 3\n", "3183", 1);
        row("near, another field differs", "#! expect near backlight.level 3\n", "317f01", 1);
        row("blanks before", "  #! expect any backlight # since it is measured\n", "3180", 0);
    }

    void what_is_loosened_passes()
    {
        QFETCH(QByteArray, directives);
        QFETCH(QByteArray, message);
        QFETCH(int, status);
        QCOMPARE(replay(with(directives), {"11", message}), status);
    }

    void a_mask_is_for_the_next_line_alone()
    {
        QByteArray masked = recording;
        masked.replace("1.1000", "#! expect mask ffffffffff00ffffffffffffff\n1.1000");
        QCOMPARE(replay(masked, {"11", "3140"}), 0);
        cleanup();
        init();
        QCOMPARE(replay(masked, {"11", "314001"}), 1);
        cleanup();
        init();
        QCOMPARE(replay(masked, {"11"
                                 "0001"}),
                 1);
    }

    void what_is_ignored_may_come_or_not()
    {
        const QByteArray ignoring =
            with("#! expect ignore hardware_version_request\n#! expect ignore 0x15\n");
        QCOMPARE(replay(ignoring, {"317f"}), 0);
        cleanup();
        init();
        // 0x15 is not answered in this recording: it comes together with the rest.
        controller_->write_file(QStringLiteral("line"), ignoring);
        controller_->start({QStringLiteral("--replay"), controller_->path(QStringLiteral("line")),
                            QStringLiteral("--expect"), QStringLiteral("--wait")});
        for (const char* message : {"15", "11", "15", "317f"})
            host().send(message);
        QVERIFY(controller_->wait_for_end());
        QCOMPARE(controller_->process.exitCode(), 0);
    }

    void bytes_that_are_no_frame_are_expected_too()
    {
        const QByteArray noisy = "0 host 0011223318ef78591100000000000000e9\n";
        for (const bool same : {true, false}) {
            cleanup();
            init();
            controller_->write_file(QStringLiteral("line"), noisy);
            controller_->start({QStringLiteral("--replay"),
                                controller_->path(QStringLiteral("line")),
                                QStringLiteral("--expect"), QStringLiteral("--wait")});
            host().send_bytes(QByteArray::fromHex(same ? "00112233" : "00112234") +
                              QByteArray::fromHex("18ef78591100000000000000e9"));
            QVERIFY(controller_->wait_for_end());
            QCOMPARE(controller_->process.exitCode(), same ? 0 : 1);
        }
    }

    void old_programs_read_the_file()
    {
        const QByteArray loosened = with("#! expect any backlight\n#! expect within 2s\n");
        controller_->write_file(QStringLiteral("line"), loosened);
        controller_->start({QStringLiteral("--replay"), controller_->path(QStringLiteral("line")),
                            QStringLiteral("--speed=0"), QStringLiteral("--exit-at-end")});
        QVERIFY(controller_->wait_for_end());
        QCOMPARE(controller_->process.exitCode(), 0);
    }

    void wrong_directives_are_told_data()
    {
        QTest::addColumn<QByteArray>("directive");
        QTest::addColumn<QByteArray>("error");
        const auto row = [](const char* directive, const char* error) {
            QTest::newRow(directive) << QByteArray(directive) << QByteArray(error);
        };
        row("#! expect much", ":2:11: \"much\" is not within, any, near, ignore or mask");
        row("#! expect", ":2:1: within, any, near, ignore or mask is missing");
        row("#! expect within 2", ":2:18: \"2\" is not a time: a number with ms, s or min");
        row("#! expect any light_up",
            ":2:15: \"light_up\" is neither an identifier nor the name of a message");
        row("#! expect any backlight.colour",
            ":2:15: \"backlight.colour\" is no field of a message");
        row("#! expect near backlight.level", ":2:31: a distance is missing");
        row("#! expect ignore 0x100",
            ":2:18: \"0x100\" is neither an identifier nor the name of a message");
        row("#! expect mask 1", ":2:16: \"1\" is not two hexadecimal digits a byte");
        row("#! expect within 2s 3s", ":2:21: \"3s\" is one word too many");
    }

    void wrong_directives_are_told()
    {
        QFETCH(QByteArray, directive);
        QFETCH(QByteArray, error);
        controller_->write_file(QStringLiteral("line"), "# first\n" + directive + "\n");
        const QString file = controller_->path(QStringLiteral("line"));
        QVERIFY(controller_->run({QStringLiteral("--replay"), file, QStringLiteral("--expect"),
                                  QStringLiteral("--check")}));
        QCOMPARE(controller_->errors(), file.toLocal8Bit() + error + '\n');
        QCOMPARE(controller_->process.exitCode(), 1);
    }

    void expect_is_for_a_replay()
    {
        QVERIFY(controller_->run({QStringLiteral("--expect")}));
        QCOMPARE(controller_->errors(), QByteArray("dov-controller: --expect is for --replay\n"));
        QCOMPARE(controller_->process.exitCode(), 2);
    }
};

QTEST_GUILESS_MAIN(Expect)
#include "expect.moc"
