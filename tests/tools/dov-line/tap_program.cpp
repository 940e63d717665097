// dov-line tap itself: what it prints, records, counts and keeps, and how it ends.

#include "Recording_reader.h"
#include "Tapped_line.h"
#include "Waiting.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <csignal>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

const QByteArray request = QByteArray::fromHex("18ef78591100000000000000e9");
const QByteArray answer = QByteArray::fromHex("18ef59781214000000000000fe");
const QByteArray broken = QByteArray::fromHex("18ef59783601138804d2000000");
const QByteArray unknown = QByteArray::fromHex("18ef59787e0000000000000056");

} // namespace

class Tap_program : public QObject {
    Q_OBJECT

    std::unique_ptr<Tapped_line> line_;
    std::unique_ptr<QProcess> process_;

    QString path(const char* name) const { return line_->path(name); }

    void start_process(const QStringList& arguments)
    {
        process_ = std::make_unique<QProcess>();
        process_->setWorkingDirectory(QFileInfo(path("x")).path());
        process_->start(QStringLiteral(DOV_LINE), arguments);
        QVERIFY(process_->waitForStarted());
    }

    /// With the line's device and link, until the link is there and a host has it open.
    void start(const QStringList& options = {})
    {
        start_process(QStringList{QStringLiteral("tap"), QStringLiteral("--device"),
                                  line_->device(), QStringLiteral("--link"), line_->link()} +
                      options);
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(line_->link()), patience_ms);
        QVERIFY(line_->open_host());
    }

    /// A request and its answer, through the tap. On a machine that is busy with everything else
    /// the answer may come too late for one.
    void exchange() const
    {
        line_->send_from_host(request);
        QCOMPARE(line_->controller_hears(13), request);
        line_->send_from_controller(answer);
        QCOMPARE(line_->host_hears(13), answer);
    }

    /// Bytes both ways in which nothing is wrong, however long they take: noise, and a message that
    /// nobody has asked for.
    void pass_bytes() const
    {
        line_->send_from_host("noise");
        QCOMPARE(line_->controller_hears(5), QByteArray("noise"));
        line_->send_from_controller(answer);
        QCOMPARE(line_->host_hears(13), answer);
    }

    /// Sends it a signal, if it still runs.
    void signal(int number) const
    {
        if (process_->processId() > 0)
            ::kill(static_cast<pid_t>(process_->processId()), number);
    }

    /// Sends it a signal and waits for its end; the status, or -1.
    int end(int number = SIGTERM)
    {
        signal(number);
        return status();
    }

    int status()
    {
        if (!process_->waitForFinished(patience_ms))
            return -1;
        return process_->exitStatus() == QProcess::NormalExit ? process_->exitCode() : -1;
    }

    QString errors()
    {
        return QString::fromUtf8(process_->readAllStandardError())
            .remove(QFileInfo(path("x")).path() + QLatin1Char('/'));
    }

    static QByteArray read(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QJsonObject tap_status() const
    {
        return QJsonDocument::fromJson(read(path("status"))).object();
    }

    QJsonValue tap_figure(const char* name) const
    {
        return tap_status()[QStringLiteral("tap")].toObject()[QLatin1String(name)];
    }

    /// How many records of bytes there are in a recording, or -1 when it is not whole.
    static int records_in(const QString& path)
    {
        const auto opened = Recording_reader::open(path);
        if (opened.reader == nullptr)
            return -1;
        int count = 0;
        Line_record record;
        while (opened.reader->next(record))
            count += record.kind == Line_record::Kind::bytes ? 1 : 0;
        return opened.reader->error().isEmpty() ? count : -1;
    }

    QStringList kept() const
    {
        const QDir directory(QFileInfo(path("x")).path());
        QStringList reasons;
        const QRegularExpression form(
            QStringLiteral("^kept-\\d{8}T\\d{6}\\.\\d{3}Z-([a-z-]+)\\.txt$"));
        for (const QString& name : directory.entryList(QDir::Files, QDir::Name)) {
            const auto match = form.match(name);
            if (match.hasMatch())
                reasons.append(match.captured(1));
        }
        return reasons;
    }

private Q_SLOTS:
    void init() { line_ = std::make_unique<Tapped_line>(); }

    void cleanup()
    {
        if (process_ != nullptr) {
            process_->kill();
            process_->waitForFinished();
        }
        process_.reset();
        line_.reset();
    }

    /// In the words in which the recording is read: the times in them are those of the machine, on
    /// which an answer may be late.
    void what_passes_is_printed()
    {
        start({QStringLiteral("--record"), path("recording")});
        exchange();
        QByteArray printed;
        QVERIFY2(wait_for([&] {
                     return (printed += process_->readAllStandardOutput()).count('\n') == 4;
                 }),
                 printed);
        QCOMPARE(end(), 0);
        QCOMPARE(errors(), QString());
        start_process({QStringLiteral("read"), path("recording")});
        QCOMPARE(status(), 0);
        QCOMPARE(printed, process_->readAllStandardOutput());
        const QString text = QString::fromUtf8(printed).simplified();
        for (const char* each : {" #1 controller connection ", " #2 host connection ",
                                 " #3 host 0x11 hardware version request (",
                                 " #4 controller 0x12 hardware version: revision 20 ("})
            QCOMPARE_CONTAINS(text, QLatin1String(each));
    }

    void json_and_a_request_without_an_answer()
    {
        start({QStringLiteral("--json")});
        QByteArray printed;
        // The next one comes when this one has been told: at many moments of a second.
        for (int count = 1; count <= 12; ++count) {
            line_->send_from_host(request);
            const int lines = 2 + count;
            QTRY_VERIFY_WITH_TIMEOUT(
                (printed += process_->readAllStandardOutput()).count('\n') == lines, patience_ms);
            const QJsonObject object =
                QJsonDocument::fromJson(printed.trimmed().split('\n').last()).object();
            QCOMPARE(object[QStringLiteral("name")].toString(),
                     QStringLiteral("hardware_version_request"));
            QCOMPARE(object[QStringLiteral("answered")], QJsonValue(false));
        }
    }

    void quiet_prints_nothing()
    {
        start({QStringLiteral("--quiet")});
        exchange();
        QCOMPARE(end(), 0);
        QCOMPARE(process_->readAllStandardOutput(), QByteArray());
    }

    void recordings_hold_everything()
    {
        start({QStringLiteral("--quiet"), QStringLiteral("--record"), path("text"),
               QStringLiteral("--pcapng"), path("pcapng")});
        constexpr int count = 200;
        for (int i = 0; i < count; ++i)
            exchange();
        QCOMPARE(end(), 0);
        QCOMPARE(records_in(path("text")), 2 * count);
        QCOMPARE(records_in(path("pcapng")), 2 * count);
        for (const char* name : {"text", "pcapng"}) {
            start_process({QStringLiteral("stats"), QStringLiteral("--json"), path(name)});
            QCOMPARE(status(), 0);
            const QJsonObject counted =
                QJsonDocument::fromJson(process_->readAllStandardOutput()).object();
            for (const char* figure : {"host_frames", "controller_frames"})
                QCOMPARE(counted[QLatin1String(figure)].toInt(), count);
            for (const char* figure : {"checksum_errors", "skipped_bytes", "missing_records"})
                QCOMPARE(counted[QLatin1String(figure)].toInt(), 0);
            QCOMPARE(counted[QStringLiteral("unanswered")],
                     counted[QStringLiteral("late_answers")]);
        }
    }

    void standard_output_can_be_the_pcapng()
    {
        start({QStringLiteral("--pcapng"), QStringLiteral("-")});
        exchange();
        QCOMPARE(end(), 0);
        QFile copy(path("copy"));
        QVERIFY(copy.open(QIODevice::WriteOnly));
        copy.write(process_->readAllStandardOutput());
        copy.close();
        QCOMPARE(records_in(copy.fileName()), 2);
    }

    void a_socket_gives_the_line_from_then_on()
    {
        start({QStringLiteral("--quiet"), QStringLiteral("--socket"), path("live"),
               QStringLiteral("--status"), path("status")});
        exchange();
        WAIT_UNTIL(tap_status()[QStringLiteral("controller_frames")].toInt(), ==, 1);
        const int reader = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray name = QFile::encodeName(path("live"));
        std::copy(name.begin(), name.end(), address.sun_path);
        QCOMPARE(::connect(reader, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        char bytes[4096];
        QByteArray stream;
        const auto receive = [&] {
            const ssize_t size = ::read(reader, bytes, sizeof bytes);
            stream.append(bytes, static_cast<int>(std::max<ssize_t>(size, 0)));
            return size > 0;
        };
        const auto records = [&] {
            QFile copy(path("copy"));
            return copy.open(QIODevice::WriteOnly) && copy.write(stream) == stream.size() &&
                           copy.flush()
                       ? records_in(copy.fileName())
                       : -1;
        };
        QVERIFY(receive()); // the beginning: the tap knows of this reader
        exchange();
        // At the end it does not wait long for who has not read.
        while (records() != 2)
            QVERIFY(receive());
        QCOMPARE(end(), 0);
        while (receive()) {
        }
        QCOMPARE(records(), 2);
        ::close(reader);
        QVERIFY(!QFile::exists(path("live")));
    }

    void the_status_is_always_whole()
    {
        start({QStringLiteral("--quiet"), QStringLiteral("--status"), path("status")});
        exchange();
        bool is_whole = true;
        const auto counts_one = [&] {
            const QJsonObject now = tap_status();
            is_whole = is_whole && now.contains(QStringLiteral("tap"));
            return now[QStringLiteral("controller_frames")].toInt() == 1;
        };
        QTRY_VERIFY_WITH_TIMEOUT(counts_one(), patience_ms);
        QVERIFY(is_whole);
        const QJsonObject status = tap_status();
        const QJsonObject tap = status[QStringLiteral("tap")].toObject();
        QCOMPARE(status[QStringLiteral("host_frames")], QJsonValue(1));
        QCOMPARE(tap[QStringLiteral("host_bytes")], QJsonValue(13));
        QCOMPARE(tap[QStringLiteral("has_host")], QJsonValue(true));
        QCOMPARE(tap[QStringLiteral("has_device")], QJsonValue(true));
        QCOMPARE(tap[QStringLiteral("device")].toString(), line_->device());
        line_->close_host();
        QTRY_COMPARE_WITH_TIMEOUT(tap_figure("has_host"), QJsonValue(false), patience_ms);
    }

    void what_led_to_it_is_kept_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("reason");
        QTest::newRow("wrong checksum") << broken << QStringLiteral("checksum");
        QTest::newRow("unknown identifier") << unknown << QStringLiteral("unknown");
        QTest::newRow("no answer") << QByteArray() << QStringLiteral("unanswered");
    }

    void what_led_to_it_is_kept()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, reason);
        start({QStringLiteral("--quiet"), QStringLiteral("--ring"), QStringLiteral("64k"),
               QStringLiteral("--keep"), path("kept")});
        pass_bytes();
        if (bytes.isEmpty())
            line_->send_from_host(request);
        else
            line_->send_from_controller(bytes);
        QTRY_COMPARE_WITH_TIMEOUT(kept(), QStringList{reason}, patience_ms);
        QCOMPARE(end(), 0);
        const QDir directory(QFileInfo(path("x")).path());
        QCOMPARE(records_in(directory.filePath(
                     directory.entryList({QStringLiteral("kept-*")}).constFirst())),
                 3);
    }

    void a_hang_up_and_a_signal_keep_too()
    {
        start({QStringLiteral("--quiet"), QStringLiteral("--ring"), QStringLiteral("64k"),
               QStringLiteral("--keep"), path("kept"), QStringLiteral("--files"),
               QStringLiteral("2")});
        pass_bytes();
        for (int i = 1; i <= 2; ++i) {
            signal(SIGUSR1);
            QTRY_COMPARE_WITH_TIMEOUT(static_cast<int>(kept().size()), i, patience_ms);
        }
        QCOMPARE(kept().last(), QStringLiteral("asked"));
        line_->pull_out();
        QTRY_COMPARE_WITH_TIMEOUT(kept().value(1), QStringLiteral("hang-up"), patience_ms);
        signal(SIGUSR1);
        QCOMPARE(end(), 0);
        QCOMPARE(static_cast<int>(kept().size()), 2);
    }

    void a_full_disk_costs_the_line_nothing()
    {
        start({QStringLiteral("--quiet"), QStringLiteral("--record"), QStringLiteral("/dev/full"),
               QStringLiteral("--status"), path("status")});
        for (int i = 0; i < 50; ++i)
            exchange();
        QTRY_VERIFY_WITH_TIMEOUT(tap_figure("unwritten_records").toInt() >= 100, patience_ms);
        QCOMPARE(end(), 4);
        QCOMPARE(errors(), QStringLiteral("dov-line: /dev/full: No space left on device\n"));
    }

    void a_reader_that_does_not_read_costs_the_line_nothing()
    {
        QCOMPARE(::mkfifo(QFile::encodeName(path("fifo")).constData(), 0600), 0);
        const int unread = ::open(QFile::encodeName(path("fifo")).constData(), O_RDWR | O_CLOEXEC);
        process_ = std::make_unique<QProcess>();
        process_->setStandardOutputFile(path("fifo"));
        process_->start(QStringLiteral(DOV_LINE),
                        {QStringLiteral("tap"), QStringLiteral("--device"), line_->device(),
                         QStringLiteral("--link"), line_->link()});
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(line_->link()), patience_ms);
        QVERIFY(line_->open_host());
        for (int i = 0; i < 2000; ++i) // of some 100 bytes each way; a pipe holds 64 KiB
            exchange();
        QCOMPARE(end(), 0);
        ::close(unread);
    }

    void signals_end_it_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }

    void signals_end_it()
    {
        QFETCH(int, number);
        start({QStringLiteral("--quiet")});
        exchange();
        QCOMPARE(end(number), 0);
        QVERIFY(line_->host_is_hung_up());
        QVERIFY(!QFileInfo(line_->link()).isSymLink());
    }

    void what_cannot_be_is_told_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("complaint");
        const auto row = [](const char* options, int status, const char* complaint) {
            QTest::newRow(options)
                << QString::fromLatin1(options).split(QLatin1Char(' '), Qt::SkipEmptyParts)
                << status << QString::fromLatin1(complaint);
        };
        row("", 2, "tap takes --device and --link");
        row("--device device", 2, "tap takes --device and --link");
        row("--device nowhere --link link", 3, "nowhere: No such file or directory");
        row("--device / --link link", 3, "/: Is a directory");
        row("--device device --link .", 3, ". is there and no symbolic link");
        row("--device device --link device", 3, "device is the device itself");
        row("--device device --link link --record /nowhere/x", 4,
            "/nowhere/x: No such file or directory");
        row("--device device --link link --pcapng /nowhere/x", 4,
            "/nowhere/x: No such file or directory");
        row("--device device --link link --socket /nowhere/x", 4,
            "/nowhere/x: No such file or directory");
        row("--device device --link link --rotate 1k", 2, "--rotate: a file has at least 64k");
        row("--device device --link link --rotate much", 2, "--rotate: \"much\" is no size");
        // Those behind it have nothing or little left in 32 bits.
        for (const char* const size : {"2G", "4G", "5G"})
            row(qPrintable(QStringLiteral("--device device --link link --ring %1")
                               .arg(QLatin1String(size))),
                2, "--ring: there is no room for more than 1G");
        row("--device device --link link --files 0", 2, "--files: \"0\" is not 1 to 1000");
        row("--device device --link link --time noon", 2,
            "--time: \"noon\" is not relative, absolute or delta");
    }

    void what_cannot_be_is_told()
    {
        QFETCH(QStringList, options);
        QFETCH(QString, complaint);
        start_process(QStringList{QStringLiteral("tap")} + options);
        QTEST(status(), "status");
        QCOMPARE(errors(), QStringLiteral("dov-line: %1\n").arg(complaint));
        QVERIFY(!QFileInfo(line_->link()).isSymLink());
    }

    void the_status_on_a_screen()
    {
        start({QStringLiteral("--quiet"), QStringLiteral("--status"), path("status")});
        exchange();
        QTRY_COMPARE_WITH_TIMEOUT(tap_status()[QStringLiteral("controller_frames")].toInt(), 1,
                                  patience_ms);
        QProcess live;
        live.start(QStringLiteral(DOV_LINE),
                   {QStringLiteral("stats"), QStringLiteral("--live"), path("status")});
        QByteArray shown;
        const auto shows = [&](const char* text) {
            live.waitForReadyRead(10);
            return (shown += live.readAllStandardOutput()).contains(text);
        };
        QTRY_VERIFY_WITH_TIMEOUT(shows("frames: host 1   controller 1\n"), patience_ms);
        QCOMPARE_CONTAINS(shown, "   device there   host there\n");
        QCOMPARE_CONTAINS(shown, "\n  0x12             1");
        exchange();
        QTRY_VERIFY_WITH_TIMEOUT(shows("frames: host 2   controller 2\n"), patience_ms);
        QCOMPARE(end(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(shows("the tap does not write any more"), patience_ms);
        live.terminate();
        QVERIFY(live.waitForFinished(patience_ms));
        QCOMPARE(live.exitCode(), 0);
    }

    void what_is_no_status_is_told()
    {
        start_process({QStringLiteral("stats"), QStringLiteral("--live"), path("nowhere")});
        QCOMPARE(status(), 3);
        QCOMPARE(errors(), QStringLiteral("dov-line: nowhere: No such file or directory\n"));
        start_process(
            {QStringLiteral("stats"), QStringLiteral("--live"), QStringLiteral("/dev/null")});
        QCOMPARE(status(), 3);
        QCOMPARE(errors(), QStringLiteral("dov-line: /dev/null: not the status of a tap\n"));
    }
};

QTEST_GUILESS_MAIN(Tap_program)
#include "tap_program.moc"
