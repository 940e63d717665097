// dov-line itself, on recordings.

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int deadline_ms = 60000;

const char* const recording = R"(# seconds, direction, bytes, and what they mean
#! began 2026-11-21T08:15:30.250Z
1.204518 host       18ef78591100000000000000e9  # hardware version request
1.204701 controller 18ef59781214000000000000fe
1.300000 host       18ef78591500000000000000ed
1.500000 controller 18ef59783601138804d2000000
1.700000 controller aabb
2.000000 controller 18ef59781215000000000000ff
)";

} // namespace

class Program : public QObject {
    Q_OBJECT

    struct Run {
        int status;
        QString out;
        QString err;
    };

    QTemporaryDir directory_;

    QString write(const char* name, const QByteArray& content) const
    {
        QFile file(directory_.filePath(QLatin1String(name)));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            qFatal("cannot write %s", qPrintable(file.fileName()));
        file.write(content);
        return file.fileName();
    }

    Run run(const QStringList& arguments, const QString& input = {}) const
    {
        QProcess process;
        process.setWorkingDirectory(directory_.path());
        if (!input.isEmpty())
            process.setStandardInputFile(input);
        process.start(QStringLiteral(DOV_LINE), arguments);
        if (!process.waitForFinished(deadline_ms))
            qFatal("dov-line does not end");
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    static QStringList simplified(const QString& text)
    {
        QStringList lines;
        for (const QString& line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            lines.append(line.simplified());
        return lines;
    }

private Q_SLOTS:
    void init() { write("line", recording); }

    void read_shows_each_thing_on_a_line()
    {
        const Run read = run({QStringLiteral("read"), QStringLiteral("line")});
        QCOMPARE(read.err, QString());
        QCOMPARE(read.status, 0);
        const QStringList expected = {
            QStringLiteral("1.204518 #1 host 0x11 hardware version request (answered by #2 after "
                           "0.183 ms)"),
            QStringLiteral("1.204701 #2 controller 0x12 hardware version: revision 20 (answers #1 "
                           "after 0.183 ms)"),
            QStringLiteral("1.300000 #3 host 0x15 firmware version request (no answer)"),
            QStringLiteral("1.500000 #4 controller broken 18 ef 59 78 36 01 13 88 04 d2 00 00 00"),
            QStringLiteral("1.700000 #5 controller skipped aa bb"),
            QStringLiteral("2.000000 #6 controller 0x12 hardware version: revision* 21"),
        };
        QCOMPARE(simplified(read.out), expected);
    }

    void read_chooses_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("numbers");
        const auto row = [](const char* options, const char* numbers) {
            QTest::newRow(options) << QString::fromLatin1(options).split(QLatin1Char(' '))
                                   << QString::fromLatin1(numbers);
        };
        row("--from host", "1 3");
        row("--from controller", "2 4 5 6");
        row("--id 0x12", "2 6");
        row("--id hardware_version --id 17", "1 2 6");
        row("--where revision>20", "6");
        row("--errors", "3 4 5");
        row("--unanswered", "3");
        row("--from controller --errors", "4 5");
    }

    void read_chooses()
    {
        QFETCH(QStringList, options);
        QFETCH(QString, numbers);
        const Run read = run(
            QStringList{QStringLiteral("read"), QStringLiteral("--csv"), QStringLiteral("line")} +
            options);
        QCOMPARE(read.err, QString());
        QStringList found;
        for (const QString& line : simplified(read.out).mid(1))
            found.append(line.section(QLatin1Char(','), 0, 0));
        QCOMPARE(found.join(QLatin1Char(' ')), numbers);
    }

    void read_writes_json()
    {
        const Run read =
            run({QStringLiteral("read"), QStringLiteral("--json"), QStringLiteral("--id"),
                 QStringLiteral("0x12"), QStringLiteral("line")});
        const QJsonObject first =
            QJsonDocument::fromJson(read.out.section(QLatin1Char('\n'), 0, 0).toUtf8()).object();
        QCOMPARE(first[QStringLiteral("name")].toString(), QStringLiteral("hardware_version"));
        QCOMPARE(
            first[QStringLiteral("fields")][QStringLiteral("revision")][QStringLiteral("number")],
            QJsonValue(20));
        QCOMPARE(first[QStringLiteral("request")], QJsonValue(1));
        QCOMPARE(first[QStringLiteral("response_ms")], QJsonValue(0.183));
        QCOMPARE(first[QStringLiteral("wall_clock")].toString(),
                 QStringLiteral("2026-11-21T08:15:31.454701Z"));
    }

    void times()
    {
        const auto first = [this](const char* style) {
            const Run read = run({QStringLiteral("read"), QStringLiteral("--time"),
                                  QLatin1String(style), QStringLiteral("line")});
            return simplified(read.out)[1].section(QLatin1Char(' '), 0, 0);
        };
        QCOMPARE(first("relative"), QStringLiteral("1.204701"));
        QCOMPARE(first("absolute"), QStringLiteral("2026-11-21T08:15:31.454701Z"));
        QCOMPARE(first("delta"), QStringLiteral("+0.000183"));
    }

    void standard_input_is_a_recording()
    {
        const Run read = run({QStringLiteral("read"), QStringLiteral("-")},
                             directory_.filePath(QStringLiteral("line")));
        QCOMPARE(read.status, 0);
        QCOMPARE(simplified(read.out).size(), 6);
    }

    void stats_counts()
    {
        const Run stats =
            run({QStringLiteral("stats"), QStringLiteral("--json"), QStringLiteral("line")});
        QCOMPARE(stats.status, 0);
        const QJsonObject counted = QJsonDocument::fromJson(stats.out.toUtf8()).object();
        const auto figure = [&counted](const char* name) {
            return counted[QLatin1String(name)].toInt(-1);
        };
        QCOMPARE(figure("host_frames"), 2);
        QCOMPARE(figure("controller_frames"), 2);
        QCOMPARE(figure("checksum_errors"), 1);
        QCOMPARE(figure("skipped_bytes"), 2);
        QCOMPARE(figure("unanswered"), 1);
        QCOMPARE(figure("late_answers"), 0);
        QCOMPARE(
            counted[QStringLiteral("answers")][QStringLiteral("0x11")][QStringLiteral("p50_ms")],
            QJsonValue(0.183));
    }

    void stats_fails_where_it_is_told_to()
    {
        const auto status = [this](const char* condition) {
            return run({QStringLiteral("stats"), QStringLiteral("--fail-if"),
                        QLatin1String(condition), QStringLiteral("line")})
                .status;
        };
        QCOMPARE(status("unanswered>0"), 1);
        QCOMPARE(status("unanswered>1"), 0);
        QCOMPARE(status("answers.0x11.p99_ms>=0.183"), 1);
        QCOMPARE(status("answers.0x77.p99_ms>0"), 0);
        QCOMPARE(status("no_such_figure>0"), 2);
        QCOMPARE(status("unanswered>few"), 2);
    }

    void compare_tells_what_differs()
    {
        write("same", QByteArray(recording).replace("1.204518", "1.1"));
        const Run same =
            run({QStringLiteral("compare"), QStringLiteral("line"), QStringLiteral("same")});
        QCOMPARE(same.out, QString());
        QCOMPARE(same.status, 0);

        write("other", QByteArray(recording).replace("18ef59781215000000000000ff",
                                                     "18ef5978121600000000000000"));
        const Run other =
            run({QStringLiteral("compare"), QStringLiteral("line"), QStringLiteral("other")});
        QCOMPARE(other.status, 1);
        QCOMPARE(simplified(other.out),
                 (QStringList{QStringLiteral("controller's message 2"),
                              QStringLiteral("< 0x12 hardware version, revision 21"),
                              QStringLiteral("> 0x12 hardware version, revision 22")}));
    }

    void bad_recordings_are_named_and_read_as_far_as_they_go()
    {
        write("cut", QByteArray(recording) + "3.0 host 18e");
        const Run cut = run({QStringLiteral("read"), QStringLiteral("cut")});
        QCOMPARE(cut.status, 3);
        QCOMPARE(simplified(cut.out).size(), 6);
        QCOMPARE(cut.err, QStringLiteral("dov-line: cut:9:12: the recording is cut short: \"e\" is "
                                         "not two hexadecimal digits a byte\n"));
        const Run missing = run({QStringLiteral("stats"), QStringLiteral("nowhere")});
        QCOMPARE(missing.status, 3);
        QCOMPARE(missing.err, QStringLiteral("dov-line: nowhere: No such file or directory\n"));
        const Run directory = run({QStringLiteral("read"), QStringLiteral("/")});
        QCOMPARE(directory.status, 3);
        QCOMPARE(directory.err, QStringLiteral("dov-line: /: Is a directory\n"));
    }

    void wrong_usage_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("complaint");
        const auto row = [](const char* arguments, const char* complaint) {
            QTest::newRow(arguments)
                << QString::fromLatin1(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts)
                << QString::fromLatin1(complaint);
        };
        row("look", "dov-line: not a verb: look; --help tells them");
        row("read", "dov-line: an argument is missing");
        row("read --from guest line", "dov-line: --from: \"guest\" is not host or controller");
        row("read --time noon line",
            "dov-line: --time: \"noon\" is not relative, absolute or delta");
        row("read --id 0x100 line",
            "dov-line: --id: \"0x100\" is neither an identifier nor the name of a message");
        row("read --where speed=1 line", "dov-line: --where: no message has a field \"speed\"");
        row("stats", "dov-line: an argument is missing");
        row("stats --baudrate 0 line", "dov-line: --baudrate: \"0\" is no speed");
        row("compare line", "dov-line: an argument is missing");
    }

    void wrong_usage()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, complaint);
        const Run wrong = run(arguments);
        QCOMPARE(wrong.err.section(QLatin1Char('\n'), 0, 0), complaint);
        QCOMPARE(wrong.status, 2);
        QCOMPARE(wrong.out, QString());
    }

    void a_full_disk_is_named()
    {
        QProcess process;
        process.setStandardOutputFile(QStringLiteral("/dev/full"));
        process.start(QStringLiteral(DOV_LINE),
                      {QStringLiteral("read"), directory_.filePath(QStringLiteral("line"))});
        QVERIFY(process.waitForFinished(deadline_ms));
        QCOMPARE(QString::fromUtf8(process.readAllStandardError()),
                 QStringLiteral("dov-line: standard output: No space left on device\n"));
        QCOMPARE(process.exitCode(), 4);
    }
};

QTEST_GUILESS_MAIN(Program)
#include "program.moc"
