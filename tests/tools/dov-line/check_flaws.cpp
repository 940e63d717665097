// dov-line check: each check fails for a controller whose firmware has the flaw that it is about,
// and the others beside it do not. Most of it runs on a clock of its own, so that the machine's own
// hurry is nobody's fault; how the machine's hurry is judged is a part of it.

#include "Check_report.h"
#include "Conversation.h"
#include "Examiner.h"
#include "Exchange.h"
#include "Fake_controller.h"
#include "Line_process.h"
#include "Pseudo_terminal.h"
#include "Report_words.h"
#include "Simulated_line.h"
#include "Waiting.h"

#include <QTest>

#include <algorithm>

#include <poll.h>
#include <unistd.h>

using Flaw = Flawed_controller::Flaw;

namespace {

/// A flaw, the checks that are run, and those of them that fail.
struct Row {
    const char* name;
    Flaw flaw;
    const char* checks; ///< names or groups; none: all
    const char* failing;
    const char* left_out = ""; ///< since something else has failed
};

constexpr const char* everything_that_is_answered =
    "answer.hardware_version_request answer.firmware_version_request answer.unique_id_request "
    "answer.power_button_poll answer.voltages_low_poll answer.voltages_high_poll "
    "answer.temperatures_poll answer.configuration answer.backlight answer.digital_outputs ";
constexpr const char* what_commands_are_answered =
    "answer.start_up answer.power_setting answer.power_switch answer.operating_voltage "
    "answer.frequency_output answer.oem_code answer.atx_acknowledge ";
constexpr const char* everything_with_answers =
    "configuration.read recovery.garbage recovery.sync_bytes recovery.split_frame "
    "recovery.wrong_checksum recovery.half_frame recovery.silence unknown.identifiers ";
constexpr const char* everything_that_follows =
    "change.outputs change.backlight change.configuration ";

constexpr Row rows[] = {
    {"none", Flaw::none, "", ""},
    {"forgets in long pauses", Flaw::forgets_in_long_pauses, "", ""},
    {"sends pieces", Flaw::sends_pieces, "", ""},
    {"starts with digests", Flaw::starts_with_digests, "", ""},
    {"slow digests", Flaw::has_slow_digests, "digest", "digest.interval digest.new_interval"},
    {"reads blocks: garbage", Flaw::reads_blocks, "recovery.garbage", "recovery.garbage"},
    {"reads blocks: sync bytes", Flaw::reads_blocks, "recovery.sync_bytes", "recovery.sync_bytes"},
    {"reads blocks: half a frame", Flaw::reads_blocks, "recovery.half_frame",
     "recovery.half_frame"},
    {"reads blocks: silence", Flaw::reads_blocks, "recovery.silence", "recovery.silence"},
    {"gives up on sync", Flaw::gives_up_on_sync, "answer recovery",
     "recovery.sync_bytes recovery.half_frame recovery.silence"},
    {"forgets in pauses", Flaw::forgets_in_pauses, "answer recovery", "recovery.split_frame"},
    {"ignores checksums", Flaw::ignores_checksums, "answer recovery.wrong_checksum",
     "recovery.wrong_checksum"},
    {"dies of unknown", Flaw::dies_of_unknown, "answer unknown", "unknown.identifiers"},
    {"adds digests", Flaw::adds_digests, "digest", "digest.new_interval"},
    {"never ends digests", Flaw::never_ends_digests, "digest.end", "digest.end"},
    {"stuck", Flaw::is_stuck, "change", "change.outputs change.backlight change.configuration"},
    {"forgetful", Flaw::is_forgetful, "change", "change.backlight change.configuration"},
    {"answers twice", Flaw::answers_twice, "", "answer.once"},
    {"mumbles", Flaw::mumbles, "", "line.frames"},
    {"babbles", Flaw::babbles, "", "line.frames"},
    {"speaks as the host", Flaw::speaks_as_host, "", "line.addresses"},
    {"invents", Flaw::invents, "answer line", "line.identifiers"},
    {"breaks one frame", Flaw::breaks_one_frame, "", "answer.hardware_version_request line.frames",
     "layout.hardware_version_request"},
};

/// Whether a check is one of these, or of one of these groups.
bool is_one_of(const QString& name, const QStringList& chosen)
{
    return chosen.isEmpty() || chosen.contains(name) ||
           chosen.contains(name.section(QLatin1Char('.'), 0, 0));
}

/// The report of a check of what is on a line.
QString report_on(Dialogue& line, const QStringList& chosen)
{
    Examiner examiner(line, response_time_ms);
    QString report;
    for (const Controller_check& check : controller_checks()) {
        if (!is_one_of(check.name, chosen))
            continue;
        report += line_of({check.name, check.run(examiner), 0}) + QLatin1Char('\n');
        examiner.clean_up();
    }
    return report;
}

QString report_on(Flaw flaw, const char* chosen)
{
    Simulated_line line(flaw);
    return report_on(line, words(chosen));
}

QStringList sorted(QStringList names)
{
    names.sort();
    return names;
}

} // namespace

Q_DECLARE_METATYPE(Row)
Q_DECLARE_METATYPE(Flaw)

class Check_flaws : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void each_flaw_fails_what_is_about_it_data()
    {
        QTest::addColumn<Row>("row");
        for (const Row& row : rows)
            QTest::newRow(row.name) << row;
    }

    void each_flaw_fails_what_is_about_it()
    {
        QFETCH(Row, row);
        const QString report = report_on(row.flaw, row.checks);
        QCOMPARE(failures(report), words(row.failing));
        QCOMPARE(names_of(report, "unjudged"), QStringList());
        QCOMPARE(names_of(report, "left out"), words(row.left_out));
    }

    void of_one_that_never_answers_in_time_fails_what_takes_an_answer_data()
    {
        QTest::addColumn<Flaw>("flaw");
        QTest::addColumn<QString>("more");
        QTest::newRow("silent") << Flaw::is_silent
                                << QStringLiteral("answer.digest_request digest.interval "
                                                  "digest.new_interval");
        QTest::newRow("wrong checksums")
            << Flaw::breaks_frames
            << QStringLiteral("answer.digest_request digest.interval digest.new_interval "
                              "line.frames");
        // Digests are not late, and the first one passes for the answer.
        QTest::newRow("late by 800 ms") << Flaw::is_late << QString();
        QTest::newRow("late by an hour") << Flaw::is_very_late << QString();
    }

    void of_one_that_never_answers_in_time_fails_what_takes_an_answer()
    {
        QFETCH(Flaw, flaw);
        QFETCH(QString, more);
        const QString expected =
            QLatin1String(everything_that_is_answered) + QLatin1String(what_commands_are_answered) +
            QLatin1String(everything_with_answers) + QLatin1String(everything_that_follows) + more;
        const QString report = report_on(flaw, "");
        QCOMPARE(sorted(failures(report)), sorted(words(qPrintable(expected))));
        QCOMPARE(names_of(report, "unjudged"), QStringList());
    }

    void how_late_an_answer_is_is_told()
    {
        QCOMPARE(report_on(Flaw::is_late, "answer.hardware_version_request"),
                 QStringLiteral("FAILED   answer.hardware_version_request: no 0x12 hardware "
                                "version within 300 ms of 0x11 hardware version request, but "
                                "after 801.00 ms\n"));
        QCOMPARE(report_on(Flaw::none, "answer.hardware_version_request"),
                 QStringLiteral("passed   answer.hardware_version_request: 1.00 ms\n"));
        QCOMPARE(report_on(Flaw::none, "digest.interval"),
                 QStringLiteral("passed   digest.interval: every 100.00 ms\n"));
    }

    /// However long this machine stands still, and whenever: no right controller is blamed.
    void no_controller_is_blamed_for_a_machine_that_stands_still_data()
    {
        QTest::addColumn<int>("for_ms");
        for (const int for_ms : {15, 60, 290, 350, 1500, 5000, 100'000})
            QTest::newRow(qPrintable(QString::number(for_ms))) << for_ms;
    }

    void no_controller_is_blamed_for_a_machine_that_stands_still()
    {
        QFETCH(int, for_ms);
        constexpr int longer_than_all_ms = 12'000;
        constexpr int step_ms = 97;
        for (int from_ms = 1; from_ms < longer_than_all_ms; from_ms += step_ms) {
            Simulated_line line(Flaw::forgets_in_long_pauses);
            line.stand_still(from_ms, for_ms);
            const QString report = report_on(line, {});
            const QByteArray when = QByteArray::number(from_ms) + ":\n" + report.toUtf8();
            QVERIFY2(failures(report).isEmpty(), when.constData());
            QVERIFY2(names_of(report, "unjudged").isEmpty(), when.constData());
        }
    }

    /// One that runs seldom judges less; what it does judge is right.
    void a_machine_that_seldom_runs_judges_nothing_wrongly_data()
    {
        QTest::addColumn<int>("period_ms");
        QTest::addColumn<int>("for_ms");
        for (const int period_ms : {40, 130, 230, 1100}) {
            for (const int percent : {20, 60, 90})
                QTest::addRow("%d ms, %d percent", period_ms, percent)
                    << period_ms << period_ms * percent / 100;
        }
    }

    void a_machine_that_seldom_runs_judges_nothing_wrongly()
    {
        QFETCH(int, period_ms);
        QFETCH(int, for_ms);
        Simulated_line right(Flaw::forgets_in_long_pauses);
        right.stand_still_in_each(period_ms, for_ms);
        QCOMPARE(failures(report_on(right, {})), QStringList());
        Simulated_line wrong(Flaw::has_slow_digests);
        wrong.stand_still_in_each(period_ms, for_ms);
        const QStringList digests = words("digest.interval digest.new_interval");
        const QString report = report_on(wrong, digests);
        QCOMPARE(sorted(failures(report) + names_of(report, "unjudged")), digests);
    }

    void what_could_not_be_judged_is_told()
    {
        Simulated_line line(Flaw::none);
        line.stand_still_in_each(1000, 990);
        QCOMPARE(report_on(line, words("digest.interval")),
                 QStringLiteral("unjudged digest.interval: the interval of digests: this machine "
                                "did not look in time\n"));
        Simulated_line asking(Flaw::none);
        asking.stand_still_in_each(1000, 999);
        QCOMPARE(report_on(asking, words("answer.hardware_version_request")),
                 QStringLiteral("unjudged answer.hardware_version_request: an answer within "
                                "1000.00 ms: this machine did not look in time\n"));
        const Check_result result = {QStringLiteral("digest.interval"),
                                     {Verdict::Kind::unjudged, QStringLiteral("why")},
                                     1.5};
        QCOMPARE(text_of(count({result})),
                 QStringLiteral("1 checks: 0 passed, 0 failed, 0 left out, 1 unjudged"));
        QCOMPARE(tap_of(result, 1), QStringLiteral("not ok 1 - digest.interval\n  ---\n"
                                                   "  message: 'why'\n  ..."));
        QVERIFY2(junit_of({result}).contains("<error message=\"why\"/>"),
                 junit_of({result}).constData());
        QVERIFY2(junit_of({result}).contains("errors=\"1\""), junit_of({result}).constData());
    }

    /// On a real line: what came while nothing was looked for is known to have come since.
    void what_comes_while_this_end_is_busy_came_since_it_looked_last()
    {
        Pseudo_terminal line;
        Conversation conversation;
        qint64 told_us = -1;
        qint64 looked_us = -1;
        conversation.set_listener([&](const Line_event&) {
            told_us = conversation.now_us();
            looked_us = conversation.last_look_us();
        });
        QCOMPARE(conversation.open(line.device(), 115200), QString());
        conversation.pass(3 * Dialogue::look_ms);
        const qint64 before_us = conversation.now_us();
        const QByteArray frame = QByteArray::fromHex("18ef59781214000000000000fe");
        QCOMPARE(write(line.own(), frame.constData(), static_cast<std::size_t>(frame.size())),
                 static_cast<ssize_t>(frame.size()));
        pollfd device = {line.other(), POLLIN, 0};
        QCOMPARE(poll(&device, 1, patience_ms), 1);
        const qint64 after_us = conversation.now_us();
        QVERIFY(conversation.wait_until([&] { return told_us >= 0; }, patience_ms));
        QVERIFY(looked_us <= before_us);
        QVERIFY(told_us >= after_us);
        conversation.pass(3 * Dialogue::look_ms);
        QVERIFY(conversation.last_look_us() >= told_us);
    }

    void each_answer_is_looked_at_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QString>("checks");
        QTest::addColumn<QString>("line");
        const auto row = [](const char* answer, const char* checks, const char* line) {
            QTest::newRow(answer) << QByteArray::fromHex(answer) << QString::fromLatin1(checks)
                                  << QString::fromLatin1(line);
        };
        row("1214000100000000", "layout.hardware_version_request",
            "FAILED   layout.hardware_version_request: 12 14 00 01 00 00 00 00: byte 3 belongs to "
            "no field and is not 0");
        row("32ff000000000000", "layout.backlight",
            "FAILED   layout.backlight: 32 ff 00 00 00 00 00 00: level is 255, which is not in 0 "
            "to 254");
        row("32fe770000000000", "layout.backlight", "passed   layout.backlight"); // not read
        row("3610000000000000", "layout.digest_request",
            "FAILED   layout.digest_request: 36 10 00 00 00 00 00 00: inputs is 16, which is not "
            "in 0 to 15");
        row("3610000000000000", "digest.layout",
            "FAILED   digest.layout: 36 10 00 00 00 00 00 00: inputs is 16, which is not in 0 to "
            "15");
        row("2e00050900000000", "configuration.read",
            "FAILED   configuration.read: 2e 00 05 09 00 00 00 00 is of OEM code 255 and offset 5; "
            "asked were 255 and 4");
        row("2e01040900000000", "configuration.read",
            "FAILED   configuration.read: 2e 01 04 09 00 00 00 00 is of OEM code 0 and offset 4; "
            "asked were 255 and 4");
    }

    void each_answer_is_looked_at()
    {
        QFETCH(QByteArray, answer);
        QFETCH(QString, checks);
        QFETCH(QString, line);
        Fake_controller controller;
        controller.set_answer(answer);
        const auto checked = Line_process::run(words("check --wait 20000 --device") +
                                               QStringList{controller.device(), checks});
        QCOMPARE(checked.out.section(QLatin1Char('\n'), 0, 0), line);
    }
};

QTEST_GUILESS_MAIN(Check_flaws)
#include "check_flaws.moc"
