// dov-line check as a program, on a device: a right controller passes in every generation, and of
// one that has a fault exactly those checks fail that are about it. What depends on time is in
// check_flaws.cpp, on a clock of its own.

#include "Controller_process.h"
#include "Fake_controller.h"
#include "Line_process.h"
#include "Report_words.h"
#include "Waiting.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QXmlStreamReader>

#include <csignal>
#include <list>
#include <map>
#include <vector>

namespace {

const char* const unchanging_requests =
    "hardware_version_request firmware_version_request unique_id_request power_button_poll "
    "voltages_low_poll voltages_high_poll temperatures_poll configuration backlight "
    "digital_outputs digest_request";

/// Each of the names behind a group.
QStringList each(const char* group, const char* names)
{
    QStringList all;
    for (const QString& name : words(names))
        all.append(QLatin1String(group) + QLatin1Char('.') + name);
    return all;
}

const QStringList all_answers = each("answer", unchanging_requests);

/// Everything that takes an answer to one request or another.
const QStringList all_with_answers =
    words("configuration.read recovery.garbage recovery.sync_bytes recovery.split_frame "
          "recovery.wrong_checksum recovery.half_frame recovery.silence unknown.identifiers");

/// What a controller is told, and which checks fail then.
struct Fault {
    const char* name;
    QStringList options;
    QStringList failing;
    bool answers = true;
};

const Fault faults[] = {
    {"healthy", {}, {}},
    {"silent",
     {QStringLiteral("--silence=on")},
     all_answers + all_with_answers + words("digest.interval digest.new_interval"),
     false},
    {"wrong checksums",
     {QStringLiteral("--corrupt=rate 100")},
     all_answers + all_with_answers + words("digest.interval digest.new_interval line.frames"),
     false},
    {"wrong addresses", {QStringLiteral("--addresses=1 2")}, words("line.addresses")},
    {"garbage", words("--loop --script SCRIPT"), words("line.frames")},
    // Nothing is wrong with these.
    {"frames in pieces", {QStringLiteral("--split=4 5ms")}, {}},
    {"digests from the start", {QStringLiteral("--digest=30ms")}, {}},
};

constexpr const char* generation_names[] = {"legacy", "legacy-hardware", "legacy-firmware",
                                            "profile"};

/// For checks that are to find an answer: a machine that is busy with everything else may keep it
/// back.
const QStringList patience = {QStringLiteral("--wait"), QStringLiteral("20000")};

/// Everything but how often digests come: two processes on a busy machine do not keep time.
const QStringList timeless =
    patience +
    words("answer layout configuration recovery unknown digest.layout digest.end change line");
constexpr int timeless_count = 53;

/// What is run, each with a controller of its own: everything that depends on no time at once, or,
/// where no answer comes, all of it, in parts that wait about as long as each other.
std::vector<QStringList> runs_for(const Fault& fault)
{
    if (fault.answers)
        return {timeless};
    return {words("answer layout"), words("configuration recovery"),
            words("unknown digest change line")};
}

/// A controller and the check of it.
class Trial {
public:
    Trial(QStringList options, const QStringList& more)
    {
        controller_.write_file(QStringLiteral("script"), "50ms garbage 9\n");
        options.replaceInStrings(QStringLiteral("SCRIPT"),
                                 controller_.path(QStringLiteral("script")));
        controller_.start(options, false);
        state_ = controller_.state().mid(1);
        check_.start(QStringList{QStringLiteral("check"), QStringLiteral("--device"),
                                 controller_.devices().constLast()} +
                     more);
    }

    Controller_process& controller() { return controller_; }
    Line_process& check() { return check_; }

    /// Of the controller, before.
    const QList<QByteArray>& state() const { return state_; }

    /// The end of the check.
    Line_process::Run end()
    {
        set_asked(true);
        return check_.end();
    }

    /// Whether a failure asks controller and check what they have seen.
    void set_asked(bool asked)
    {
        controller_.set_asked(asked);
        check_.set_asked(asked);
    }

private:
    Line_process check_;
    Controller_process controller_;
    QList<QByteArray> state_;
};

} // namespace

class Check : public QObject {
    Q_OBJECT

    // They take seconds, in which they mostly wait: all of them at once.
    std::map<QString, std::list<Trial>> trials_;

    static Line_process::Run check(const QString& device, const QStringList& more)
    {
        return Line_process::run(
            QStringList{QStringLiteral("check"), QStringLiteral("--device"), device} + more);
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (const Fault& fault : faults) {
            for (const QStringList& run : runs_for(fault))
                trials_[QLatin1String(fault.name)].emplace_back(fault.options, run);
        }
        for (const char* generation : generation_names)
            trials_[QLatin1String(generation)].emplace_back(
                QStringList{QStringLiteral("--generation"), QLatin1String(generation),
                            QStringLiteral("--output=1 on"), QStringLiteral("--output=2 disabled"),
                            QStringLiteral("--backlight=100 7"),
                            QStringLiteral("--configuration=255 4 9")},
                timeless + QStringList{QStringLiteral("--change")});
        for (auto& trials : trials_) {
            for (Trial& trial : trials.second)
                trial.set_asked(false);
        }
    }

    void cleanup() { trials_.erase(QString::fromLatin1(QTest::currentDataTag())); }

    void cleanupTestCase() { trials_.clear(); }

    void each_generation_passes_data()
    {
        QTest::addColumn<QString>("name");
        for (const char* generation : generation_names)
            QTest::newRow(generation) << QString::fromLatin1(generation);
    }

    void each_generation_passes()
    {
        QFETCH(QString, name);
        Trial& trial = trials_.at(name).front();
        const auto checked = trial.end();
        QCOMPARE(failures(checked.out), QStringList());
        QCOMPARE(checked.err, QString());
        QCOMPARE(checked.status, 0);
        QCOMPARE(checked.out.section(QLatin1Char('\n'), -2, -2),
                 QStringLiteral("%1 checks: %1 passed, 0 failed, 0 left out").arg(timeless_count));
        QCOMPARE(trial.controller().state().mid(1), trial.state());
    }

    void each_fault_fails_what_is_about_it_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("failing");
        QTest::addColumn<int>("count");
        for (const Fault& fault : faults)
            QTest::newRow(fault.name) << QString::fromLatin1(fault.name) << fault.failing
                                      << (fault.answers ? timeless_count : 55);
    }

    void each_fault_fails_what_is_about_it()
    {
        QFETCH(QString, name);
        QFETCH(QStringList, failing);
        QFETCH(int, count);
        QString text;
        for (Trial& trial : trials_.at(name)) {
            const auto checked = trial.end();
            QCOMPARE(checked.status, failures(checked.out).isEmpty() ? 0 : 1);
            text += checked.out;
        }
        QCOMPARE(failures(text), failing);
        const QStringList left_out = names_of(text, "left out");
        QCOMPARE_CONTAINS(left_out, QStringLiteral("change.outputs"));
        QCOMPARE(names_of(text, "passed").size() + failing.size() + left_out.size(), count);
    }

    void what_changes_something_is_asked_for()
    {
        Trial trial({}, words("change answer.oem_code"));
        const auto checked = trial.check().end();
        QCOMPARE(checked.status, 0);
        QCOMPARE(names_of(checked.out, "left out"),
                 words("answer.oem_code change.outputs change.backlight change.configuration"));
        QCOMPARE_CONTAINS(
            checked.out,
            QStringLiteral("left out change.outputs: it changes something; --change runs it\n"));
        QCOMPARE_STARTS(trial.controller().state().constFirst(), "# 0 commands");
    }

    void list_tells_every_check()
    {
        const auto listed = Line_process::run(words("check --list --json"));
        QCOMPARE(listed.status, 0);
        QStringList changing;
        int count = 0;
        for (const QString& text : listed.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            const QJsonObject object = QJsonDocument::fromJson(text.toUtf8()).object();
            QVERIFY(!object[QStringLiteral("meaning")].toString().isEmpty());
            const QString name = object[QStringLiteral("name")].toString();
            if (object[QStringLiteral("changes")].toBool() &&
                !name.startsWith(QLatin1String("layout")))
                changing.append(name);
            ++count;
        }
        QCOMPARE(count, 55);
        QCOMPARE(changing, each("answer", "start_up power_setting power_switch operating_voltage "
                                          "frequency_output oem_code atx_acknowledge") +
                               each("change", "outputs backlight configuration"));
        const auto chosen = Line_process::run(words("check --list recovery.silence line"));
        QCOMPARE(chosen.out.count(QLatin1Char('\n')), 4);
        QCOMPARE_STARTS(chosen.out, QStringLiteral("recovery.silence  "));
    }

    void reports()
    {
        const QStringList chosen =
            words("answer.backlight layout.backlight change.backlight line.frames");
        Fake_controller controller;
        controller.set_answer(QByteArray::fromHex("32ff"));
        QTemporaryDir directory;
        const QString junit = directory.filePath(QStringLiteral("junit.xml"));
        const QString why = QStringLiteral("32 ff 00 00 00 00 00 00: level is 255, which is not in "
                                           "0 to 254");

        const auto tap =
            check(controller.device(),
                  chosen + patience +
                      QStringList{QStringLiteral("--tap"), QStringLiteral("--junit"), junit});
        QCOMPARE(tap.status, 1);
        QCOMPARE(tap.out, QStringLiteral("TAP version 13\n"
                                         "1..4\n"
                                         "ok 1 - answer.backlight\n"
                                         "not ok 2 - layout.backlight\n"
                                         "  ---\n"
                                         "  message: '%1'\n"
                                         "  ...\n"
                                         "ok 3 - change.backlight # SKIP it changes something; "
                                         "--change runs it\n"
                                         "ok 4 - line.frames\n")
                              .arg(why));

        const auto json = check(controller.device(), chosen + patience + words("--json"));
        const QStringList objects = json.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(objects.size(), 5);
        const QJsonObject failed = QJsonDocument::fromJson(objects[1].toUtf8()).object();
        QCOMPARE(failed[QStringLiteral("name")].toString(), QStringLiteral("layout.backlight"));
        QCOMPARE(failed[QStringLiteral("result")].toString(), QStringLiteral("failed"));
        QCOMPARE(failed[QStringLiteral("text")].toString(), why);
        QCOMPARE(QJsonDocument::fromJson(objects[4].toUtf8()).object(),
                 (QJsonObject{{QStringLiteral("passed"), 2},
                              {QStringLiteral("failed"), 1},
                              {QStringLiteral("left_out"), 1},
                              {QStringLiteral("unjudged"), 0}}));

        QFile file(junit);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QXmlStreamReader reader(&file);
        QStringList seen;
        while (!reader.atEnd()) {
            if (reader.readNext() != QXmlStreamReader::StartElement)
                continue;
            const auto attributes = reader.attributes();
            const auto value = [&attributes](const char* name) {
                return attributes.value(QLatin1String(name)).toString();
            };
            if (reader.name() == QLatin1String("testsuite"))
                seen.append(value("tests") + value("failures") + value("skipped"));
            else if (reader.name() == QLatin1String("testcase"))
                seen.append(value("name"));
            else
                seen.append(reader.name().toString() + QLatin1Char(' ') + value("message"));
        }
        QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
        QCOMPARE(seen,
                 (QStringList{QStringLiteral("411"), QStringLiteral("answer.backlight"),
                              QStringLiteral("layout.backlight"), QStringLiteral("failure ") + why,
                              QStringLiteral("change.backlight"),
                              QStringLiteral("skipped it changes something; --change runs it"),
                              QStringLiteral("line.frames")}));
    }

    void a_report_that_cannot_be_written_is_said()
    {
        Fake_controller controller;
        const auto checked = check(controller.device(),
                                   patience + words("answer.backlight --junit /nowhere/junit.xml"));
        QCOMPARE(checked.status, 4);
        QCOMPARE(checked.err,
                 QStringLiteral("dov-line: /nowhere/junit.xml: No such file or directory\n"));
    }

    void a_controller_that_goes_away_is_said()
    {
        Trial trial({QStringLiteral("--silence=on")}, words("--wait 3000"));
        QVERIFY(wait_for([&] { return trial.check().output().contains("FAILED"); }));
        trial.controller().end();
        const auto checked = trial.check().end();
        QCOMPARE(checked.status, 3);
        QCOMPARE_ENDS(checked.err, QStringLiteral(": it has hung up\n"));
        QVERIFY(names_of(checked.out, "FAILED").size() < 11);
    }

    void an_end_that_is_asked_for_is_no_success()
    {
        // The second check waits for its answer until then.
        Fake_controller controller;
        controller.ignore(0x33);
        Line_process process;
        process.start(
            QStringList{QStringLiteral("check"), QStringLiteral("--device"), controller.device()} +
            patience + words("answer.backlight answer.digital_outputs"));
        QVERIFY(wait_for([&] { return controller.has_received("33"); }));
        process.signal(SIGINT);
        const auto checked = process.end();
        QCOMPARE(checked.status, 1);
        QCOMPARE(failures(checked.out), QStringList());
        QCOMPARE(names_of(checked.out, "passed"), words("answer.backlight"));
    }

    void wrong_usage()
    {
        const auto unknown = Line_process::run(words("check --device x recovery.luck"));
        QCOMPARE(unknown.status, 2);
        QCOMPARE(unknown.err,
                 QStringLiteral("dov-line: no check \"recovery.luck\"; check --list tells them\n"));
        const auto nothing = Line_process::run(words("check"));
        QCOMPARE(nothing.status, 2);
        QCOMPARE(nothing.err, QStringLiteral("dov-line: --device is missing\n"));
    }
};

QTEST_GUILESS_MAIN(Check)
#include "check.moc"
