// Recordings as they are written while the line is busy, the disk full and the reader slow.

#include "Recording_writer.h"

#include "Recording_reader.h"
#include "Waiting.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr qint64 began_us = 1700000000000000;

/// The time and size of each record, and what is missing.
struct Content {
    std::vector<qint64> times_us;
    quint64 missing = 0;
    qint64 bytes = 0;
    qint64 wall_clock_us = -1;
    QString error;
};

Content read(const QString& path)
{
    Content content;
    const auto opened = Recording_reader::open(path);
    if (opened.reader == nullptr) {
        content.error = opened.error;
        return content;
    }
    Line_record record;
    while (opened.reader->next(record)) {
        if (record.kind == Line_record::Kind::gap)
            content.missing += record.missing;
        else
            content.times_us.push_back(record.time_us);
        content.bytes += record.size;
    }
    content.wall_clock_us = opened.reader->wall_clock_us();
    content.error = opened.reader->error();
    return content;
}

} // namespace

class Recording_writer_test : public QObject {
    Q_OBJECT

    QTemporaryDir directory_;
    QStringList complaints_;
    std::mutex complaints_mutex_;
    std::atomic<qint64> clock_us_{began_us};

    QString path(const char* name = "line") const
    {
        return directory_.filePath(QLatin1String(name));
    }

    Recording_writer::Order order(Recording_writer::Format format = Recording_writer::Format::text)
    {
        Recording_writer::Order made;
        made.path = path();
        made.format = format;
        made.wall_clock_us = [this] { return clock_us_.load(); };
        made.complain = [this](const QString& text) {
            const std::lock_guard<std::mutex> lock(complaints_mutex_);
            complaints_.append(QString(text).remove(directory_.path() + QLatin1Char('/')));
        };
        return made;
    }

    /// Whole lines of a text: of one without room there is a beginning, until it is taken back.
    std::size_t lines_of_records() const
    {
        QFile file(path());
        std::size_t count = 0;
        if (file.open(QIODevice::ReadOnly)) {
            for (QByteArray line = file.readLine(); line.endsWith('\n'); line = file.readLine())
                count += line.startsWith('#') ? 0 : 1;
        }
        return count;
    }

    int complaints()
    {
        const std::lock_guard<std::mutex> lock(complaints_mutex_);
        return static_cast<int>(complaints_.size());
    }

    static Line_record frame(qint64 time_us)
    {
        static const QByteArray bytes = QByteArray::fromHex("18ef59781214000000000000fe");
        Line_record record;
        record.time_us = time_us;
        record.sender = Sender::controller;
        record.data = reinterpret_cast<const uchar*>(bytes.constData());
        record.size = static_cast<int>(bytes.size());
        return record;
    }

    static Line_record mark(qint64 time_us, Line_record::Kind kind)
    {
        Line_record record = frame(time_us);
        record.kind = kind;
        record.data = nullptr;
        record.size = 0;
        return record;
    }

private Q_SLOTS:
    void init()
    {
        QDir(directory_.path()).removeRecursively();
        QDir().mkpath(directory_.path());
        complaints_.clear();
        clock_us_ = began_us;
    }

    void what_is_written_is_read_data()
    {
        QTest::addColumn<bool>("is_pcapng");
        QTest::newRow("text") << false;
        QTest::newRow("pcapng") << true;
    }

    void what_is_written_is_read()
    {
        QFETCH(bool, is_pcapng);
        Recording_writer writer;
        QCOMPARE(writer.open(order(is_pcapng ? Recording_writer::Format::pcapng
                                             : Recording_writer::Format::text)),
                 QString());
        Line_record gap = mark(3000, Line_record::Kind::gap);
        gap.missing = 1234567890123;
        const Line_record records[] = {frame(0), mark(1000, Line_record::Kind::hang_up),
                                       mark(2000, Line_record::Kind::connection), gap,
                                       frame(3600000001)};
        for (const Line_record& record : records)
            writer.write(record);
        QVERIFY(writer.end(patience_ms));

        const auto opened = Recording_reader::open(path());
        Line_record record;
        for (const Line_record& expected : records) {
            QVERIFY(opened.reader->next(record));
            QCOMPARE(record.time_us, expected.time_us);
            QCOMPARE(static_cast<int>(record.kind), static_cast<int>(expected.kind));
            QCOMPARE(static_cast<int>(record.sender), static_cast<int>(expected.sender));
            QCOMPARE(record.size, expected.size);
            QCOMPARE(record.missing, expected.missing);
            if (record.size > 0)
                QVERIFY(std::equal(record.data, record.data + record.size, expected.data));
        }
        QVERIFY(!opened.reader->next(record));
        QCOMPARE(opened.reader->error(), QString());
        QCOMPARE(opened.reader->wall_clock_us(), began_us);
    }

    void text_says_what_it_means()
    {
        Recording_writer writer;
        QCOMPARE(writer.open(order()), QString());
        writer.write(frame(1234567));
        QVERIFY(writer.end(patience_ms));
        QFile file(path());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(),
                 QByteArray("# seconds, direction, bytes, and what they mean\n"
                            "#! began 2023-11-14T22:13:20.000Z\n"
                            "1.234567 controller 18ef59781214000000000000fe  # hardware version: "
                            "revision 20\n"));
    }

    void a_live_reader_finds_the_beginning_at_once()
    {
        Recording_writer writer;
        QCOMPARE(writer.open(order(Recording_writer::Format::pcapng)), QString());
        QVERIFY(QFile(path()).size() > 0);
        QCOMPARE(read(path()).error, QString());
    }

    void the_wall_clock_is_told_again_when_it_is_set()
    {
        Recording_writer writer;
        QCOMPARE(writer.open(order()), QString());
        writer.write(frame(0));
        WAIT_UNTIL(read(path()).times_us.size(), ==, 1U);
        clock_us_ = began_us + 60000000;
        writer.write(frame(1));
        QVERIFY(writer.end(patience_ms));
        QCOMPARE(read(path()).wall_clock_us, began_us + 60000000);
    }

    void files_have_their_size_and_their_number()
    {
        Recording_writer writer;
        Recording_writer::Order wanted = order();
        wanted.rotation = {4096, 3};
        QCOMPARE(writer.open(wanted), QString());
        constexpr int count = 500; // of some 100 bytes
        for (int i = 0; i < count; ++i)
            writer.write(frame(i));
        QVERIFY(writer.end(patience_ms));

        qint64 expected = count;
        for (const char* name : {"line", "line.1", "line.2"}) {
            const Content content = read(path(name));
            QCOMPARE(content.error, QString());
            QCOMPARE(content.wall_clock_us, began_us);
            QVERIFY(QFile(path(name)).size() <= 4096);
            QVERIFY(!content.times_us.empty());
            for (auto time = content.times_us.rbegin(); time != content.times_us.rend(); ++time)
                QCOMPARE(*time, --expected);
        }
        QVERIFY(expected > 0);
        QVERIFY(!QFile::exists(path("line.3")));
    }

    void rotation_keeps_what_was_there()
    {
        for (const qint64 time : {1, 2}) {
            Recording_writer writer;
            Recording_writer::Order wanted = order();
            wanted.rotation = {1 << 20, 2};
            QCOMPARE(writer.open(wanted), QString());
            writer.write(frame(time));
            QVERIFY(writer.end(patience_ms));
        }
        QCOMPARE(read(path()).times_us, std::vector<qint64>{2});
        QCOMPARE(read(path("line.1")).times_us, std::vector<qint64>{1});
    }

    void a_file_that_cannot_be_made_is_named()
    {
        Recording_writer::Order wanted = order();
        wanted.path = QStringLiteral("/nowhere/line");
        Recording_writer writer;
        QCOMPARE(writer.open(wanted), QStringLiteral("/nowhere/line: No such file or directory"));
        QVERIFY(!writer.is_open());
        writer.write(frame(0));
        QVERIFY(writer.end(patience_ms));
    }

    void a_full_disk_is_told_once_and_leaves_what_was_written_whole()
    {
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit little = {1000, before.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &little), 0);

        Recording_writer writer;
        QCOMPARE(writer.open(order()), QString());
        // One by one: a single one may have room where many had none.
        std::size_t count = 0;
        do {
            writer.write(frame(static_cast<qint64>(count++)));
            QVERIFY(wait_for([&] { return complaints() > 0 || lines_of_records() == count; }));
        } while (complaints() == 0);
        writer.write(frame(static_cast<qint64>(count)));
        WAIT_UNTIL(writer.dropped(), ==, quint64{2});
        const Content full = read(path());
        QCOMPARE(full.error, QString());
        QCOMPARE(full.times_us.size(), count - 1);

        QCOMPARE(setrlimit(RLIMIT_FSIZE, &before), 0);
        writer.write(frame(static_cast<qint64>(count + 1)));
        QVERIFY(!writer.end(patience_ms));
        const Content whole = read(path());
        QCOMPARE(whole.error, QString());
        QCOMPARE(whole.times_us.back(), static_cast<qint64>(count + 1));
        QCOMPARE(whole.missing, quint64{2});
        QCOMPARE(whole.times_us.size(), count);
        QCOMPARE(complaints(), 1);
        QCOMPARE(complaints_.first(), QStringLiteral("line: File too large"));
    }

    void a_device_without_room_is_told_once()
    {
        Recording_writer::Order wanted = order();
        wanted.path = QStringLiteral("/dev/full");
        Recording_writer writer;
        QCOMPARE(writer.open(wanted), QString());
        for (int i = 0; i < 10; ++i)
            writer.write(frame(i));
        QVERIFY(!writer.end(patience_ms));
        QCOMPARE(complaints_, QStringList{QStringLiteral("/dev/full: No space left on device")});
    }

    void a_slow_reader_costs_records_and_no_time()
    {
        int ends[2];
        QCOMPARE(pipe2(ends, O_CLOEXEC), 0);
        Recording_writer writer;
        Recording_writer::Order wanted = order();
        wanted.buffer = 10000;
        writer.take(ends[1], wanted);
        constexpr int count = 20000; // more than pipe and buffer hold
        for (int i = 0; i < count; ++i)
            writer.write(frame(i));
        QVERIFY(writer.dropped() > 0);
        QVERIFY(!writer.end(10)); // it waits for the reader no longer than it is told to

        QFile copy(path("copy"));
        QVERIFY(copy.open(QIODevice::WriteOnly));
        char bytes[65536];
        for (ssize_t size = 1; size > 0;) {
            size = ::read(ends[0], bytes, sizeof bytes);
            copy.write(bytes, size);
        }
        copy.close();
        ::close(ends[0]);
        const Content content = read(path("copy"));
        QCOMPARE(content.error, QString());
        QVERIFY(content.missing > 0);
        QCOMPARE(content.missing + content.times_us.size(), quint64{count});
    }

    void a_reader_that_goes_is_known()
    {
        int ends[2];
        QCOMPARE(pipe2(ends, O_CLOEXEC), 0);
        Recording_writer writer;
        writer.take(ends[1], order());
        QVERIFY(!writer.has_lost_reader());
        ::close(ends[0]);
        writer.write(frame(0));
        QVERIFY(wait_for([&] { return writer.has_lost_reader(); }));
        WAIT_UNTIL(complaints(), ==, 1);
        QCOMPARE(complaints_.first(), QStringLiteral("line: Broken pipe"));
    }
};

QTEST_GUILESS_MAIN(Recording_writer_test)
#include "recording_writer.moc"
