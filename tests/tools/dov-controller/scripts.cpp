// Scripts, commands and recordings as texts: what is read, and how errors are told.

#include "Bench_controller.h"
#include "Script.h"
#include "Trace.h"

#include <QTest>

class Scripts : public QObject {
    Q_OBJECT

    static QString errors_of(const QByteArray& text)
    {
        QStringList lines;
        for (const Text_error& error : Script::parse(text).errors)
            lines.append(error.in(QStringLiteral("f")));
        return lines.join(QLatin1Char('\n'));
    }

private Q_SLOTS:
    void times_are_absolute_or_after_the_last_step()
    {
        const Script script = Script::parse("# a drive\n"
                                            "\n"
                                            "0s ignition on\n"
                                            "  1.5s   button press   # short\n"
                                            "+200ms atx\r\n"
                                            "1min quit");
        QCOMPARE_EMPTY(script.errors);
        QVector<qint64> times;
        for (const Script::Step& step : script.steps)
            times.append(step.at_ms);
        QCOMPARE(times, (QVector<qint64>{0, 1500, 1700, 60000}));
        QCOMPARE(script.length_ms(), 60000);
    }

    void errors_name_file_line_and_column_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("error");
        const auto row = [](const char* text, const char* error) {
            QTest::newRow(text) << QByteArray(text) << QString::fromLatin1(error);
        };
        const char* const no_time = "f:1:1: \"%\" is not a time: a number with ms, s or min, and + "
                                    "before it for one after the last step";
        for (const char* text : {"5", "s", "-1s", "1h", "atx", "+", "nans", "infs", "1e99s"})
            row(qPrintable(QLatin1String(text) + QStringLiteral(" atx")),
                qPrintable(
                    QString::fromLatin1(no_time).replace(QLatin1Char('%'), QLatin1String(text))));
        row("1s", "f:1:3: a command is missing");
        row("1s   bogus", "f:1:6: there is no command \"bogus\"");
        row("2s atx\n1s atx", "f:2:1: the time is before that of the last step");
        row("1s atx now", "f:1:8: \"now\" is one word too many");
        row("1s ignition", "f:1:12: on or off is missing");
        row("1s ignition maybe", "f:1:13: \"maybe\" is not on or off");
        row("1s hardware 256", "f:1:13: \"256\" is not a revision from 0 to 255");
        row("1s hardware 0xfg", "f:1:13: \"0xfg\" is not a revision from 0 to 255");
        row("1s firmware 1.2", "f:1:13: a version is MAJOR.MINOR.PATCH, each from 0 to 255");
        row("1s firmware 1.2.256", "f:1:13: a version is MAJOR.MINOR.PATCH, each from 0 to 255");
        row("1s unique-id 0011", "f:1:18: 2 of at least 7 bytes");
        row("1s unique-id 0x11", "f:1:14: \"0x11\" is not two hexadecimal digits a byte");
        row("1s send 010203040506070809", "f:1:9: more than 8 bytes");
        row("1s send", "f:1:8: 0 of at least 1 bytes");
        row("1s input analog", "f:1:16: constant, sine, triangle, square, ramp or random is "
                               "missing");
        row("1s input analog 65536", "f:1:17: \"65536\" is not a value from 0 to 65535");
        row("1s input analog sine 0 5 0s", "f:1:26: a period is above 0");
        row("1s input analog sine 0 5 9", "f:1:26: \"9\" is not a period: a number with ms, s or "
                                          "min");
        row("1s input analog saw 0 5 9s", "f:1:17: \"saw\" is not constant, sine, triangle, "
                                          "square, ramp or random");
        row("1s output 4 on", "f:1:11: \"4\" is not an output from 0 to 3");
        row("1s report 0x11", "f:1:11: the controller reports nothing with this identifier");
        row("1s late 0ms", "f:1:9: a time is above 0, or off");
        row("1s corrupt next 0", "f:1:17: \"0\" is not a number of frames from 1 to 1000000");
        row("1s corrupt rate 101", "f:1:17: \"101\" is not a percentage from 0 to 100");
        row("1s split 13", "f:1:10: \"13\" is not a number of bytes from 1 to 12");
        row("1s addresses 1", "f:1:15: a destination address is missing");
    }

    void errors_name_file_line_and_column()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, error);
        QCOMPARE(errors_of(text), error);
    }

    void all_errors_are_told_at_once()
    {
        QCOMPARE(errors_of("1s bogus\n2s atx\n\n3s ignition 1\n").count(QLatin1Char('\n')), 1);
    }

    /// Every command in its every form, and what it does to the state or to the line.
    void commands_are_understood_data()
    {
        QTest::addColumn<QByteArray>("command");
        for (const char* command : {"generation legacy",
                                    "hardware 0x0b",
                                    "firmware 1.5.0",
                                    "unique-id 01020304050607",
                                    "unique-id 01 02 03 04 05 06 07",
                                    "oem 3",
                                    "configuration 3 4 15",
                                    "line15 2",
                                    "ignition on",
                                    "ignition off",
                                    "button press",
                                    "button down",
                                    "button up",
                                    "input digital0 1",
                                    "input analog constant 5",
                                    "input light sine 0 10 1s",
                                    "input frequency triangle 0 10 1s",
                                    "input voltage5 square 0 10 1s",
                                    "input temperature5 ramp -10 10 1s",
                                    "input digital3 random 0 1 1s",
                                    "input digital3 random 0 1 1s 42",
                                    "output 3 disabled",
                                    "backlight 254",
                                    "backlight 10 20",
                                    "backlight-power off",
                                    "operating-voltage 44",
                                    "frequency-output 65535",
                                    "digest 100ms",
                                    "digest off",
                                    "restart",
                                    "atx",
                                    "report 0x36",
                                    "send 7d",
                                    "bytes 18ef 00",
                                    "silence on",
                                    "silence off",
                                    "silence 2s",
                                    "late 400ms",
                                    "late off",
                                    "corrupt next 3",
                                    "corrupt rate 12.5",
                                    "corrupt off",
                                    "addresses 0x78 0x59",
                                    "addresses off",
                                    "garbage 100",
                                    "split 4",
                                    "split 4 5ms",
                                    "split off",
                                    "double on",
                                    "double off",
                                    "disconnect",
                                    "disconnect 1s",
                                    "connect",
                                    "healthy",
                                    "seed 5",
                                    "state",
                                    "quit"})
            QTest::newRow(command) << QByteArray(command);
    }

    void commands_are_understood()
    {
        QFETCH(QByteArray, command);
        Words words(command);
        QVERIFY(parse_command(words));
        QVERIFY2(!words.has_failed(), qPrintable(words.error()));
    }

    /// The manual page has it.
    void pieces_of_a_split_frame_are_20_ms_apart_by_default()
    {
        Bench_controller bench;
        Words words("split 4");
        parse_command(words)(bench);
        QCOMPARE(bench.faults.settings().split_size, 4);
        QCOMPARE(bench.faults.settings().split_gap_ms, qint64{20});
    }

    void a_state_is_told_as_commands_that_bring_it_about()
    {
        const auto run = [](Bench_controller& bench, const QByteArray& text) {
            for (const QByteArray& line : text.split('\n')) {
                Words words(line);
                if (words.at_end())
                    continue;
                const Action action = parse_command(words);
                QVERIFY2(action != nullptr, line.constData());
                action(bench);
            }
        };
        Bench_controller one;
        run(one, "generation legacy\nunique-id ffeeddccbbaa99\noem 3\nline15 9\nignition off\n"
                 "configuration 3 4 15\nconfiguration 255 0 1\nbutton down\noutput 1 on\n"
                 "output 1 disabled\noutput 3 on\nbacklight 1 2\nbacklight-power off\n"
                 "operating-voltage 44\nfrequency-output 1234\ndigest 250ms\n");
        Bench_controller other;
        run(other, one.state_text().toUtf8());
        QCOMPARE(other.state_text(), one.state_text());
        QCOMPARE_NE(one.state_text(), Bench_controller().state_text());
    }

    void a_recording_is_read_as_it_was_written()
    {
        const QVector<Trace_entry> entries = {
            {0, true, QByteArray::fromHex("18ef59781214000000000000fe")},
            {1234567, false, QByteArray::fromHex("18ef785935000000000000000d")},
            {1234567, false, QByteArray::fromHex("00ff")},
            {3600000001, true, QByteArray::fromHex("18")},
        };
        QByteArray text = "# a comment\n";
        for (const Trace_entry& entry : entries)
            text.append(entry.to_line().toUtf8().append('\n'));
        QCOMPARE_CONTAINS(text, "1.234567 host       18ef785935000000000000000d  "
                                "# digest request: interval in 50 ms 0\n");
        const Trace trace = Trace::parse(text);
        QCOMPARE_EMPTY(trace.errors);
        QCOMPARE(trace.entries.size(), entries.size());
        for (int i = 0; i < entries.size(); ++i) {
            QCOMPARE(trace.entries[i].time_us, entries[i].time_us);
            QCOMPARE(trace.entries[i].from_controller, entries[i].from_controller);
            QCOMPARE(trace.entries[i].bytes, entries[i].bytes);
        }
    }

    void errors_of_recordings_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("error");
        const auto row = [](const char* text, const char* error) {
            QTest::newRow(text) << QByteArray(text) << QString::fromLatin1(error);
        };
        row("now host 00", "f:1:1: \"now\" is not a time in seconds from 0 to 1e+08");
        row("0 nobody 00", "f:1:3: \"nobody\" is not controller or host");
        row("0 host 0", "f:1:8: \"0\" is not two hexadecimal digits a byte");
        row("0 host", "f:1:7: 0 of at least 1 bytes");
        row("2 host 00\n1 host 00", "f:2:1: the time is before the last one");
    }

    void errors_of_recordings()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, error);
        const Trace trace = Trace::parse(text);
        QCOMPARE(trace.errors.size(), 1);
        QCOMPARE(trace.errors[0].in(QStringLiteral("f")), error);
    }
};

QTEST_GUILESS_MAIN(Scripts)
#include "scripts.moc"
