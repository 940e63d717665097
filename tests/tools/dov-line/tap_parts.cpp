// What a tap is made of behind its line: what it remembers, keeps and shows.

#include "Incident_keeper.h"
#include "Line_statistics.h"
#include "Live_view.h"
#include "Record_buffer.h"
#include "Record_ring.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QTest>

namespace {

Line_record bytes_at(qint64 time_us, const QByteArray& bytes)
{
    Line_record record;
    record.time_us = time_us;
    record.data = reinterpret_cast<const uchar*>(bytes.constData());
    record.size = static_cast<int>(bytes.size());
    return record;
}

std::vector<qint64> times_in(const Record_ring& ring)
{
    std::vector<qint64> times;
    ring.for_each([&times](const Line_record& record) { times.push_back(record.time_us); });
    return times;
}

Line_event frame_event(Sender sender, uchar id)
{
    Line_event event;
    event.kind = Line_event::Kind::frame;
    event.sender = sender;
    event.bytes = QByteArray(Frame::size, '\0');
    event.bytes[Frame::payload_at] = static_cast<char>(id);
    return event;
}

} // namespace

class Tap_parts : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> directory_;

    QString path(const char* name) const { return directory_->filePath(QLatin1String(name)); }

    Incident_keeper::Order order() const
    {
        Incident_keeper::Order made;
        made.path = path("kept");
        made.ring_bytes = 4096;
        made.wall_clock_us = [] { return qint64{1700000000000000}; };
        made.complain = [](const QString& text) { qWarning("%s", qPrintable(text)); };
        return made;
    }

    QStringList files() const { return QDir(directory_->path()).entryList(QDir::Files); }

private Q_SLOTS:
    void init() { directory_ = std::make_unique<QTemporaryDir>(); }

    void a_buffer_hands_over_what_fits_and_tells_what_does_not()
    {
        const QByteArray bytes(100, 'x');
        const std::size_t cost = Record_batch::cost_of(bytes_at(0, bytes));
        Record_buffer buffer(3 * cost);
        for (int i = 0; i < 5; ++i)
            buffer.put(bytes_at(i, bytes));
        buffer.put(bytes_at(5, {})); // would fit, and would be out of order
        QCOMPARE(buffer.dropped(), quint64{3});
        Record_batch batch;
        buffer.take(batch);
        QCOMPARE(batch.size(), std::size_t{4});
        for (std::size_t i = 0; i < 3; ++i) {
            QCOMPARE(batch[i].time_us, static_cast<qint64>(i));
            QCOMPARE(batch[i].size, 100);
            QCOMPARE(*batch[i].data, uchar{'x'});
        }
        QCOMPARE(static_cast<int>(batch[3].kind), static_cast<int>(Line_record::Kind::gap));
        QCOMPARE(batch[3].missing, quint64{3});
        QCOMPARE(batch[3].time_us, qint64{3});
        buffer.put(bytes_at(6, bytes));
        buffer.take(batch);
        QCOMPARE(batch.size(), std::size_t{1});
        QCOMPARE(batch[0].time_us, qint64{6});
        buffer.take(batch);
        QVERIFY(batch.empty());
    }

    void a_ring_remembers_the_newest()
    {
        const QByteArray bytes(10, 'x');
        const std::size_t cost = Record_batch::cost_of(bytes_at(0, bytes));
        Record_ring ring(3 * cost);
        for (int i = 0; i < 5; ++i)
            ring.add(bytes_at(i, bytes));
        QCOMPARE(times_in(ring), (std::vector<qint64>{2, 3, 4}));
        QCOMPARE(ring.cost(), 3 * cost);
        ring.add(bytes_at(5, QByteArray(static_cast<int>(4 * cost), 'x')));
        QCOMPARE(times_in(ring), std::vector<qint64>());
    }

    void reasons_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("id");
        QTest::addColumn<bool>("unanswered");
        QTest::addColumn<int>("reason"); // -1 for none
        using Kind = Line_event::Kind;
        using Reason = Incident_keeper::Reason;
        const auto row = [](const char* name, Kind kind, int id, bool unanswered, int reason) {
            QTest::newRow(name) << static_cast<int>(kind) << id << unanswered << reason;
        };
        row("frame", Kind::frame, 0x11, false, -1);
        row("unanswered", Kind::frame, 0x11, true, static_cast<int>(Reason::unanswered));
        row("unknown", Kind::frame, 0x7e, false, static_cast<int>(Reason::unknown));
        row("broken", Kind::broken, 0x11, false, static_cast<int>(Reason::checksum));
        row("hang-up", Kind::hang_up, 0, false, static_cast<int>(Reason::hang_up));
        row("connection", Kind::connection, 0, false, -1);
        row("skipped", Kind::skipped, 0, false, -1);
        row("gap", Kind::gap, 0, false, -1);
    }

    void reasons()
    {
        QFETCH(int, kind);
        QFETCH(int, id);
        QFETCH(bool, unanswered);
        QFETCH(int, reason);
        Line_event event = frame_event(Sender::host, static_cast<uchar>(id));
        event.kind = static_cast<Line_event::Kind>(kind);
        event.fate = unanswered ? Line_event::Fate::unanswered : Line_event::Fate::answered;
        const auto found = Incident_keeper::reason_of(event);
        QCOMPARE(found ? static_cast<int>(*found) : -1, reason);
    }

    void one_file_a_minute_for_a_reason_unless_it_is_asked_for()
    {
        using Reason = Incident_keeper::Reason;
        Incident_keeper keeper(order());
        keeper.add(bytes_at(0, "x"));
        keeper.keep(Reason::checksum, 1000000);
        keeper.keep(Reason::unknown, 2000000);
        keeper.keep(Reason::asked, 3000000);
        keeper.keep(Reason::asked, 4000000);
        keeper.keep(Reason::checksum, 60999999);
        keeper.keep(Reason::checksum, 61000000);
        QCOMPARE(keeper.incidents(), quint64{6});
        QCOMPARE(keeper.kept(), quint64{5});
        QCOMPARE(files(), (QStringList{QStringLiteral("kept-20231114T221321.000Z-checksum.txt"),
                                       QStringLiteral("kept-20231114T221322.000Z-unknown.txt"),
                                       QStringLiteral("kept-20231114T221323.000Z-asked.txt"),
                                       QStringLiteral("kept-20231114T221324.000Z-asked.txt"),
                                       QStringLiteral("kept-20231114T221421.000Z-checksum.txt")}));
    }

    void two_of_one_moment_are_two_files_in_their_order()
    {
        using Reason = Incident_keeper::Reason;
        Incident_keeper keeper(order());
        for (const Reason reason : {Reason::hang_up, Reason::asked, Reason::asked})
            keeper.keep(reason, 1000000);
        keeper.keep(Reason::checksum, 999000); // a clock that was put back
        QCOMPARE(files(), (QStringList{QStringLiteral("kept-20231114T221321.000Z-hang-up.txt"),
                                       QStringLiteral("kept-20231114T221321.001Z-asked.txt"),
                                       QStringLiteral("kept-20231114T221321.002Z-asked.txt"),
                                       QStringLiteral("kept-20231114T221321.003Z-checksum.txt")}));
    }

    void the_oldest_files_are_removed_and_no_others()
    {
        const QStringList others = {QStringLiteral("kept"), QStringLiteral("kept-notes.txt"),
                                    QStringLiteral("kept-20200101T000000.000Z-mine.txt")};
        for (const QString& name : others) {
            QFile file(directory_->filePath(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        Incident_keeper::Order wanted = order();
        wanted.files = 2;
        for (int run = 0; run < 2; ++run) {
            Incident_keeper keeper(wanted);
            for (int i = 1; i <= 2; ++i)
                keeper.keep(Incident_keeper::Reason::asked, (2 * run + i) * qint64{1000000});
        }
        QStringList expected = others;
        expected.append({QStringLiteral("kept-20231114T221323.000Z-asked.txt"),
                         QStringLiteral("kept-20231114T221324.000Z-asked.txt")});
        expected.sort();
        QStringList found = files();
        found.sort();
        QCOMPARE(found, expected);
    }

    void times_are_kept_up_to_a_number()
    {
        Time_distribution times;
        constexpr int count = 100000;
        for (int i = 1; i <= count; ++i)
            times.add(i, 1000);
        QCOMPARE(times.count(), std::size_t{count});
        QCOMPARE(times.most_ms(), count / 1000.0);
        QCOMPARE(times.count_between(0, count), std::size_t{1000});
        const double median = times.quantile_ms(50);
        QVERIFY2(median > 45 && median < 55, qPrintable(QString::number(median)));
    }

    void a_status_is_a_screen()
    {
        const QJsonObject tap = {{QStringLiteral("device"), QStringLiteral("/dev/a")},
                                 {QStringLiteral("link"), QStringLiteral("/run/b")},
                                 {QStringLiteral("baudrate"), 115200},
                                 {QStringLiteral("has_device"), true},
                                 {QStringLiteral("has_host"), false},
                                 {QStringLiteral("incidents"), 3}};
        const QJsonObject message = {{QStringLiteral("name"), QStringLiteral("digest")},
                                     {QStringLiteral("count"), 12},
                                     {QStringLiteral("rate_per_s"), 10},
                                     {QStringLiteral("period_ms"), 100},
                                     {QStringLiteral("jitter_ms"), 0.5}};
        const QJsonObject answer = {
            {QStringLiteral("p50_ms"), 1},     {QStringLiteral("p90_ms"), 2},
            {QStringLiteral("p99_ms"), 3},     {QStringLiteral("most_ms"), 4},
            {QStringLiteral("unanswered"), 5}, {QStringLiteral("late"), 6}};
        const QJsonObject status = {
            {QStringLiteral("tap"), tap},
            {QStringLiteral("seconds"), 12.34},
            {QStringLiteral("host_load"), 0.01},
            {QStringLiteral("controller_load"), 0.5},
            {QStringLiteral("host_frames"), 7},
            {QStringLiteral("controller_frames"), 8},
            {QStringLiteral("checksum_errors"), 1},
            {QStringLiteral("hang_ups"), 2},
            {QStringLiteral("digest"),
             QJsonObject{{QStringLiteral("asked_ms"), 100}, {QStringLiteral("kept_ms"), 100.04}}},
            {QStringLiteral("identifiers"), QJsonObject{{QStringLiteral("0x36"), message}}},
            {QStringLiteral("answers"), QJsonObject{{QStringLiteral("0x15"), answer}}}};
        QCOMPARE(
            live_lines(status),
            (QStringList{
                QStringLiteral("/dev/a as /run/b at 115200 baud   device there   host not there"),
                QStringLiteral("12.3 s   load: host 1.0 %   controller 50.0 %"),
                QStringLiteral("frames: host 7   controller 8"),
                QStringLiteral("wrong: checksums 1   addresses 0   identifiers 0   skipped bytes "
                               "0"),
                QStringLiteral("requests: unanswered 0   answered late 0"),
                QStringLiteral("line: hang-ups 2   bytes without a host 0"),
                QStringLiteral("records: not seen 0   not written 0   incidents 3   kept files 0"),
                QStringLiteral("digests: asked every 100 ms, come every 100.0 ms"), QString(),
                QStringLiteral("  message      count    per s  period ms  jitter ms  name"),
                QStringLiteral("  0x36            12    10.00      100.0       0.50  digest"),
                QString(),
                QStringLiteral(
                    "  request     p50 ms   p90 ms     p99 ms    most ms unanswered  late"),
                QStringLiteral(
                    "  0x15         1.000    2.000      3.000      4.000          5     6")}));
    }
};

QTEST_GUILESS_MAIN(Tap_parts)
#include "tap_parts.moc"
