// dov-config-check itself, on configuration files with every mistake there is.

#include "Bound_process.h"
#include "Pseudo_terminal.h"
#include "Waiting.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int deadline_ms = 60000;

/// Takes what has been written to a terminal so far.
QByteArray take(const Pseudo_terminal& terminal)
{
    QByteArray text;
    char bytes[4096];
    for (ssize_t count = read(terminal.own(), bytes, sizeof bytes); count > 0;
         count = read(terminal.own(), bytes, sizeof bytes))
        text.append(bytes, static_cast<int>(count));
    return text;
}

/// A power configuration whose state "on" has these entries, one a line from line 3 on.
QByteArray power(const QByteArray& entries)
{
    return "<power>\n<state name=\"on\">\n" + entries +
           "\n</state>\n<state name=\"low-power\"/>\n<state name=\"sleep\"/>\n</power>\n";
}

QByteArray device(const QByteArray& name, const QByteArray& text)
{
    return "<device name=\"" + name + "\">" + text + "</device>";
}

const QByteArray good_profile = "<profile>\n<code>3</code>\n"
                                "<RemoteSwitchPowerUpTime>20</RemoteSwitchPowerUpTime>\n"
                                "</profile>\n";

} // namespace

class Program : public QObject {
    Q_OBJECT

private:
    QTemporaryDir directory_;
    const QString program_ = QStringLiteral(DOV_CONFIG_CHECK);
    Bound_process process_;

    QString path(const char* name) const { return directory_.filePath(QLatin1String(name)); }

    void write(const char* name, const QByteArray& text)
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(text), text.size());
    }

    /// Runs the program. Its exit status.
    static int run(QProcess& process, const QString& program, const QStringList& arguments)
    {
        process.start(program, arguments);
        return process.waitForFinished(deadline_ms) && process.exitStatus() == QProcess::NormalExit
                   ? process.exitCode()
                   : -1;
    }

    QStringList files() const
    {
        return {QStringLiteral("--power"), path("power.conf"), QStringLiteral("--oem"),
                path("oem.conf")};
    }

    int check(const QStringList& more = {})
    {
        const int status = run(process_, program_, files() + more);
        output_ = process_.readAllStandardOutput();
        return status;
    }

    QList<QByteArray> lines() const { return output_.split('\n'); }

    QJsonObject checked_as_json()
    {
        check({QStringLiteral("--json")});
        return QJsonDocument::fromJson(output_).object();
    }

    QByteArray output_;

private Q_SLOTS:
    void init()
    {
        write("power.conf", power(device("system", "on")));
        write("oem.conf", good_profile);
    }

    void good_files_are_good()
    {
        QCOMPARE(check(), 0);
        QCOMPARE_STARTS(output_, "state on: time-out none (default, no entry)\n"
                                 "  system   on  (line 3)\n"
                                 "  display  on  (default, no entry)\n");
        QCOMPARE_CONTAINS(lines(),
                          QByteArray("state low-power: time-out 100 s (default, no entry)"));
        QCOMPARE_CONTAINS(lines(), QByteArray("OEM code 3 (line 2)"));
        QCOMPARE_CONTAINS(lines(), QByteArray("remote-switch power-up time 20 (line 3)"));
        QCOMPARE_EMPTY(process_.readAllStandardError());
    }

    void the_examples_are_good()
    {
        const QString examples = QStringLiteral(DOV_EXAMPLES);
        QCOMPARE(run(process_, program_,
                     {QStringLiteral("--power"), examples + QStringLiteral("/power_manage.conf"),
                      QStringLiteral("--oem"), examples + QStringLiteral("/oem_profile.conf")}),
                 0);
        output_ = process_.readAllStandardOutput();
        QCOMPARE_CONTAINS(
            lines(),
            QByteArray("masks (1 on, 2 low-power, 4 sleep): system=3 display=1 can_1=7 can_2=5 "
                       "can_3=4 can_4=4 eth=7 video=5 camera=4 uart_1=5 usb_1=5"));
    }

    void a_problem_is_told_first_and_in_the_status_data()
    {
        QTest::addColumn<QByteArray>("power_config");
        QTest::addColumn<QByteArray>("profile");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("first_line");

        const QByteArray good = power({});
        const QByteArray off = "the terminal powers off at start: ";
        const QByteArray rejected = "the file is rejected: ";
        const QByteArray none = "no effect: ";
        const auto add_power = [](const char* name, const QByteArray& text, int status,
                                  const QByteArray& line) {
            QTest::newRow(name) << text << good_profile << status << "power.conf" + line;
        };
        const auto add_oem = [&](const char* name, const QByteArray& text, int status,
                                 const QByteArray& line) {
            QTest::newRow(name) << good << text << status << "oem.conf" + line;
        };
        add_power("not there", {}, 5,
                  ": " + off + "it cannot be opened: No such file or directory");
        add_power("not XML", "<power>\n<state>\n</power>", 5,
                  ":3: " + off + "it is not well-formed XML: Opening and ending tag mismatch.");
        add_power("wrong root", "<PowerCntlML/>", 5,
                  ": " + off + "its root element is <PowerCntlML>, not <power>");
        add_power("system off", power("\n" + device("system", "off")), 5,
                  ":4: " + off + R"(<device name="system"> is off in state "on")");
        add_power(
            "wrong case", power(device("System", "off")), 3,
            ":3: " + none +
                R"(<device name="System"> is not looked up; <device name="system"> would be)");
        add_power("blank", power(device(" eth", "off")), 3,
                  ":3: " + none +
                      R"(<device name=" eth"> is not looked up; <device name="eth"> would be)");
        add_power("unknown name", power(device("fan", "off")), 3,
                  ":3: " + none + R"(<device name="fan"> is not looked up)");
        add_power("no name", power("<device>off</device>"), 3,
                  ":3: " + none + "<device> is not looked up");
        add_power("wrong tag", power("<Device name=\"eth\">off</Device>"), 3,
                  ":3: " + none +
                      R"(<Device name="eth"> is not looked up; <device name="eth"> would be)");
        add_power(
            "other param", power("<param name=\"Timeout\">1</param>"), 3,
            ":3: " + none +
                R"(<param name="Timeout"> is not looked up; <param name="timeout"> would be)");
        add_power("second device", power(device("eth", "on") + "\n" + device("eth", "off")), 3,
                  ":4: " + none + R"(<device name="eth"> comes after another, which alone counts)");
        add_power("second state", "<power>\n<state name=\"on\"/>\n<state name=\"on\"/>\n</power>",
                  3,
                  ":3: " + none + R"(<state name="on"> comes after another, which alone counts)");
        add_power("unknown state", "<power>\n<state name=\"off\"/>\n</power>", 3,
                  ":2: " + none + R"(<state name="off"> is not looked up)");
        add_power("device outside", "<power>\n" + device("eth", "off") + "\n</power>", 3,
                  ":2: " + none + R"(<device name="eth"> is not looked up)");
        add_power("text", power(device("eth", "Off")), 3,
                  ":3: " + none +
                      R"(<device name="eth"> has unrecognised text "Off"; the default counts, on)");
        add_power("line ends", power(device("eth", "\noff\n\t")), 3,
                  ":3: " + none + R"(<device name="eth"> has unrecognised text "\noff\n\u0009"; )" +
                      "the default counts, on");
        add_power("empty", power(device("eth", {})), 3,
                  ":3: " + none +
                      R"(<device name="eth"> has unrecognised text ""; the default counts, on)");
        add_power("time-out", power("<param name=\"timeout\">never</param>"), 3,
                  ":3: " + none + R"(<param name="timeout"> has unrecognised text "never"; )" +
                      "the default counts, -1");
        add_oem("no profile", {}, 4,
                ": " + rejected + "it cannot be opened: No such file or directory");
        add_oem("wrong profile root", "<OEMprofile/>", 4,
                ": " + rejected + "its root element is <OEMprofile>, not <profile>");
        add_oem("profile not XML", "<profile>", 4,
                ":1: " + rejected + "it is not well-formed XML: Premature end of document.");
        add_oem("second code", "<profile>\n<code>1</code>\n<code>2</code>\n</profile>", 3,
                ":3: " + none + "<code> comes after another, which alone counts");
        add_oem("wrong case code", "<profile>\n<Code>1</Code>\n</profile>", 3,
                ":2: " + none + "<Code> is not looked up; <code> would be");
        add_oem("code text", "<profile>\n<code>x</code>\n</profile>", 3,
                ":2: " + none + R"(<code> has unrecognised text "x"; the default counts, 255)");
        QTest::newRow("the gravest first")
            << power(device("fan", "on") + "\n" + device("system", "off")) << QByteArray("<x/>")
            << 5
            << QByteArray("power.conf:4: " + off) +
                   R"(<device name="system"> is off in state "on")";
        QTest::newRow("rejection before no effect")
            << power(device("fan", "on")) << QByteArray("<x/>") << 4
            << "oem.conf: " + rejected + "its root element is <x>, not <profile>";
    }

    void a_problem_is_told_first_and_in_the_status()
    {
        QFETCH(QByteArray, power_config);
        QFETCH(QByteArray, profile);
        QFETCH(int, status);
        QFETCH(QByteArray, first_line);
        for (const auto& [name, text] :
             {std::pair{"power.conf", power_config}, std::pair{"oem.conf", profile}}) {
            if (text.isNull())
                QVERIFY(QFile::remove(path(name)));
            else
                write(name, text);
        }
        QCOMPARE(check(), status);
        const QByteArray directory = directory_.path().toUtf8() + '/';
        QCOMPARE(output_.left(output_.indexOf('\n')), directory + first_line);
    }

    void what_is_beyond_the_readers_limits_is_rejected()
    {
        write("power.conf", "<power>" + QByteArray(200, 'x').replace("x", "<x>") +
                                QByteArray(200, 'x').replace("x", "</x>") + "</power>");
        QCOMPARE(check(), 5);
        QCOMPARE_CONTAINS(output_, "power.conf:1: the terminal powers off at start: it is nested "
                                   "deeper than 100 elements\n");
        write("oem.conf", "<profile>" + QByteArray(1024 * 1024, ' ') + "</profile>");
        QCOMPARE(check(), 5);
        QCOMPARE_CONTAINS(output_, "oem.conf: the file is rejected: it is larger than 1 MiB\n");
    }

    /// A pipe that nobody writes would be waited for, as the daemon does not.
    void what_is_no_file_is_rejected()
    {
        QVERIFY(QFile::remove(path("power.conf")));
        QCOMPARE(mkfifo(path("power.conf").toUtf8().constData(), 0600), 0);
        const int status = check();
        QVERIFY(QFile::remove(path("power.conf"))); // or the next test's file would be the pipe
        QCOMPARE(status, 5);
        QCOMPARE_CONTAINS(output_, "it is no regular file");
    }

    void without_a_file_everything_is_off()
    {
        QVERIFY(QFile::remove(path("power.conf")));
        QVERIFY(QFile::remove(path("oem.conf")));
        QCOMPARE(check(), 5);
        QCOMPARE_CONTAINS(lines(), QByteArray("state on: time-out none (no file)"));
        QCOMPARE_CONTAINS(lines(), QByteArray("state sleep: time-out 100 s (no file)"));
        QCOMPARE_CONTAINS(lines(), QByteArray("  system   off (no file)"));
        QCOMPARE_LACKS(output_, "default, no entry");
        QCOMPARE_CONTAINS(lines(), QByteArray("OEM code 255 (no file)"));
        QCOMPARE_CONTAINS(lines(), QByteArray("remote-switch power-up time 255 (no file)"));
    }

    void values_are_as_the_daemon_reads_them()
    {
        write("power.conf", power("<param name=\"timeout\">\t7 min</param>"));
        write("oem.conf", "<profile>\n<code> 300</code>\n</profile>\n");
        QCOMPARE(check(), 0);
        QCOMPARE_CONTAINS(lines(),
                          QByteArray("state on: time-out 7 s (line 3, from \"\\u00097 min\")"));
        QCOMPARE_CONTAINS(lines(), QByteArray("OEM code 44 (line 2, from \" 300\")"));
        QCOMPARE_CONTAINS(lines(),
                          QByteArray("remote-switch power-up time 15 (default, no entry)"));
    }

    void json_says_the_same()
    {
        write("power.conf", power(device("eth", "off") + "\n" + device("eth", "on") + "\n" +
                                  device("video", "no")));
        const QJsonObject all = checked_as_json();
        const QJsonArray problems = all["problems"].toArray();
        QCOMPARE(problems.size(), 2);
        QCOMPARE(problems[0].toObject(),
                 (QJsonObject{
                     {"kind", "no_effect"},
                     {"file", path("power.conf")},
                     {"line", 4},
                     {"text", "<device name=\"eth\"> comes after another, which alone counts"}}));
        const QJsonArray states = all["states"].toArray();
        QCOMPARE(states.size(), 3);
        const QJsonObject on = states[0].toObject();
        QCOMPARE(on["name"].toString(), QStringLiteral("on"));
        QCOMPARE(on["timeout"].toObject(), (QJsonObject{{"value", -1}, {"source", "no_entry"}}));
        const QJsonObject devices = on["devices"].toObject();
        QCOMPARE(devices.keys(),
                 (QStringList{"camera", "can_1", "can_2", "can_3", "can_4", "display", "eth",
                              "system", "uart_1", "usb_1", "video"}));
        QCOMPARE(
            devices["eth"].toObject(),
            (QJsonObject{{"value", false}, {"source", "entry"}, {"line", 3}, {"text", "off"}}));
        QCOMPARE(devices["video"].toObject(),
                 (QJsonObject{
                     {"value", true}, {"source", "unrecognised"}, {"line", 5}, {"text", "no"}}));
        QCOMPARE(all["masks"].toObject()["eth"].toInt(), 6);
        QCOMPARE(all["masks"].toObject()["video"].toInt(), 7);
        QCOMPARE(all["oem_code"].toObject(),
                 (QJsonObject{{"value", 3}, {"source", "entry"}, {"line", 2}, {"text", "3"}}));
        QVERIFY(QFile::remove(path("power.conf")));
        QCOMPARE(checked_as_json()["problems"].toArray()[0].toObject()["kind"].toString(),
                 QStringLiteral("power_off"));
    }

    void colours_are_for_terminals_only()
    {
        write("power.conf", power(device("eth", "OFF") + device("system", "off")));
        check();
        QCOMPARE_LACKS(output_, '\033');
        Pseudo_terminal terminal;
        Bound_process process;
        process.redirect(STDOUT_FILENO, terminal.other());
        QCOMPARE(run(process, program_, files()), 5);
        const QByteArray shown = take(terminal);
        QCOMPARE_STARTS(shown, "\033[31m");
        QCOMPARE_CONTAINS(shown, "\033[33moff\033[0m");
        QCOMPARE_CONTAINS(shown, "\033[32mon \033[0m");
        QCOMPARE(run(process, program_, files() << QStringLiteral("--json")), 5);
        QCOMPARE_LACKS(take(terminal), '\033');
    }

    void wrong_usage_and_a_full_disk_have_their_own_status()
    {
        QCOMPARE(run(process_, program_, {QStringLiteral("--what")}), 2);
        QCOMPARE(process_.readAllStandardError(),
                 QByteArray("dov-config-check: Unknown option 'what'.\n"));
        QCOMPARE(run(process_, program_, {QStringLiteral("some.conf")}), 2);
        QCOMPARE(run(process_, program_, {QStringLiteral("--version")}), 0);
        QCOMPARE(run(process_, program_, {QStringLiteral("--help")}), 0);
        QCOMPARE_CONTAINS(process_.readAllStandardOutput(), "5 the terminal powers off at");
        const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
        Bound_process process;
        process.redirect(STDOUT_FILENO, full);
        QCOMPARE(run(process, program_, files()), 1);
        close(full);
    }
};

QTEST_GUILESS_MAIN(Program)
#include "program.moc"
