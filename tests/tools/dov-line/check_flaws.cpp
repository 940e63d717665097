// dov-line check: each check fails for a controller whose firmware has the flaw that it is about,
// and the others beside it do not.

#include "Fake_controller.h"
#include "Flawed_controller.h"
#include "Line_process.h"
#include "Report_words.h"

#include <QTest>

#include <algorithm>
#include <iterator>
#include <map>

using Flaw = Flawed_controller::Flaw;

namespace {

/// A flaw, the checks that are run, and those of them that fail.
struct Row {
    const char* name;
    Flaw flaw;
    const char* checks;
    const char* failing;
};

/// Those that take longest come first.
constexpr Row rows[] = {
    {"slow digests", Flaw::has_slow_digests, "digest", "digest.interval digest.new_interval"},
    {"none", Flaw::none, "--change", ""},
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
    {"stuck", Flaw::is_stuck, "--change change",
     "change.outputs change.backlight change.configuration"},
    {"forgetful", Flaw::is_forgetful, "--change change", "change.backlight change.configuration"},
    {"answers twice", Flaw::answers_twice, "answer line", "answer.once"},
    {"mumbles", Flaw::mumbles, "answer line", "line.frames"},
    {"speaks as the host", Flaw::speaks_as_host, "answer line", "line.addresses"},
    {"invents", Flaw::invents, "answer line", "line.identifiers"},
};
constexpr int row_count = static_cast<int>(std::size(rows));

/// A controller, in the test's own process, and the check of it.
struct Trial {
    explicit Trial(const Row& row) : controller(row.flaw)
    {
        check.start(words("check --wait 1000 --device") + QStringList{controller.device()} +
                    words(row.checks));
        check.set_asked(false);
    }

    Flawed_controller controller;
    Line_process check;
};

} // namespace

class Check_flaws : public QObject {
    Q_OBJECT

    std::map<int, Trial> trials_;

    /// The row's. A check takes seconds, in which it mostly waits: those of the next rows begin
    /// with it.
    Trial& trial(int row)
    {
        constexpr int side_by_side = 6;
        for (int next = row; next < std::min(row + side_by_side, row_count); ++next)
            trials_.try_emplace(next, rows[next]);
        return trials_.at(row);
    }

    /// What is in both.
    static QStringList common(QStringList one, const QStringList& other)
    {
        one.erase(std::remove_if(one.begin(), one.end(),
                                 [&other](const QString& each) { return !other.contains(each); }),
                  one.end());
        return one;
    }

private Q_SLOTS:
    void cleanup()
    {
        for (auto& trial : trials_)
            trial.second.check.set_asked(false);
    }
    void cleanupTestCase() { trials_.clear(); }

    void each_flaw_fails_what_is_about_it_data()
    {
        QTest::addColumn<int>("row");
        for (int row = 0; row < row_count; ++row)
            QTest::newRow(rows[row].name) << row;
    }

    void each_flaw_fails_what_is_about_it()
    {
        QFETCH(int, row);
        Trial& own = trial(row);
        own.check.set_asked(true);
        const QStringList failing = words(rows[row].failing);
        auto checked = own.check.end();
        // On a machine that is busy with everything else answers and digests are late, and pauses
        // shorter than they were sent: what the flaw does fails each time.
        constexpr int most_trials = 10;
        QStringList each_time = failures(checked.out);
        for (int count = 1; count < most_trials && each_time != failing; ++count) {
            checked = Trial(rows[row]).check.end();
            const QStringList failed = failures(checked.out);
            each_time = failed == failing ? failed : common(each_time, failed);
        }
        QCOMPARE(each_time, failing);
        QCOMPARE(checked.status, failures(checked.out).isEmpty() ? 0 : 1);
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
