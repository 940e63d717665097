// Frames and what lies between them, requests and their answers, and what is counted of both.

#include "Event_filter.h"
#include "Event_format.h"
#include "Line_analysis.h"
#include "Line_statistics.h"

#include <QTest>

#include <random>

namespace {

/// The checksum by itself: sharing the program's would hide its mistakes.
QByteArray frame(const char* addresses, const char* message)
{
    QByteArray bytes = QByteArray::fromHex("18ef") + QByteArray::fromHex(addresses);
    const QByteArray content = QByteArray::fromHex(message).leftJustified(8, '\0');
    uchar sum = 0xd8;
    for (const char byte : content)
        sum = static_cast<uchar>(sum + static_cast<uchar>(byte));
    return bytes + content + QByteArray(1, static_cast<char>(sum));
}

QByteArray host(const char* message)
{
    return frame("7859", message);
}
QByteArray controller(const char* message)
{
    return frame("5978", message);
}

QByteArray broken(QByteArray bytes)
{
    bytes[12] = static_cast<char>(bytes[12] + 1);
    return bytes;
}

struct Sent {
    double ms;
    Sender sender;
    QByteArray bytes;
};

constexpr Sender from_host = Sender::host;
constexpr Sender from_controller = Sender::controller;

QVector<Line_event> events(const QVector<Sent>& line,
                           Line_analysis::Telling telling = Line_analysis::Telling::in_order)
{
    Line_analysis analysis(telling);
    QVector<Line_event> found;
    Line_event event;
    for (const Sent& sent : line) {
        analysis.take({static_cast<qint64>(sent.ms * 1000), sent.sender, Line_record::Kind::bytes,
                       reinterpret_cast<const uchar*>(sent.bytes.constData()),
                       static_cast<int>(sent.bytes.size())});
        while (analysis.next(event))
            found.append(event);
    }
    analysis.end();
    while (analysis.next(event))
        found.append(event);
    return found;
}

/// "f13 s2": the kinds and sizes of events.
QString shape(const QVector<Line_event>& found)
{
    QStringList texts;
    for (const Line_event& event : found)
        texts.append(QStringLiteral("%1%2")
                         .arg(QLatin1Char("fbshc"[static_cast<int>(event.kind)]))
                         .arg(event.bytes.size()));
    return texts.join(QLatin1Char(' '));
}

Line_statistics statistics(const QVector<Sent>& line)
{
    Line_statistics counted(115200);
    for (const Line_event& event : events(line))
        counted.take(event);
    return counted;
}

} // namespace

class Analysis : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void pieces_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");

        const QByteArray good = controller("1214");
        const auto row = [](const char* name, const QByteArray& bytes, const char* expected) {
            QTest::newRow(name) << bytes << QString::fromLatin1(expected);
        };
        row("nothing", {}, "");
        row("a frame", good, "f13");
        row("two frames", good + good, "f13 f13");
        row("garbage before", "xy" + good, "s2 f13");
        row("garbage between", good + "xyz" + good, "f13 s3 f13");
        row("garbage behind", good + "x", "f13 s1");
        row("one sync byte and a frame", "\x18" + good, "s1 f13");
        row("wrong addresses", frame("7859", "1214"), "f13");
        row("a wrong checksum", broken(good), "b13");
        row("a wrong checksum between", good + broken(good) + good, "f13 b13 f13");
        row("two wrong checksums", broken(good) + broken(good), "b13 b13");
        row("half a frame before one", good.left(6) + good, "s6 f13");
        row("a frame without its last byte", good.left(12) + good, "s12 f13");
        row("a sync pair before one", QByteArray::fromHex("18ef") + good, "s2 f13");
        row("the beginning of one", good.left(5), "s5");
        row("the beginning of one in a broken one", broken(good).left(10) + good.left(5), "b13 s2");
    }

    void pieces()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, expected);
        QCOMPARE(shape(events({{0, from_controller, bytes}})), expected);
    }

    /// Whatever way the bytes come in.
    void pieces_byte_by_byte_data() { pieces_data(); }
    void pieces_byte_by_byte()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, expected);
        QVector<Sent> line;
        for (int i = 0; i < bytes.size(); ++i)
            line.append({double(i), from_controller, bytes.mid(i, 1)});
        QString found = shape(events(line));
        const auto skipped = [](const QString& text) {
            int count = 0;
            QStringList others;
            for (const QString& each : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
                if (each.startsWith(QLatin1Char('s')))
                    count += each.mid(1).toInt();
                else
                    others.append(each);
            }
            return QStringLiteral("%1 and %2 skipped")
                .arg(others.join(QLatin1Char(' ')))
                .arg(count);
        };
        QCOMPARE(skipped(found), skipped(expected));
    }

    void every_byte_is_told_once()
    {
        std::mt19937 random(7);
        QByteArray bytes;
        for (int i = 0; i < 4000; ++i) {
            const uint what = random() % 4;
            const QByteArray good = controller("3601020304050607");
            bytes += what == 0   ? good
                     : what == 1 ? broken(good)
                     : what == 2 ? good.left(static_cast<int>(random() % 13))
                                 : QByteArray(1, static_cast<char>(random()));
        }
        QByteArray told;
        for (const Line_event& event : events({{0, from_controller, bytes}}))
            told += event.bytes;
        QCOMPARE(told.size(), bytes.size());
        QCOMPARE(told.toHex(), bytes.toHex());
    }

    void times_are_those_of_the_first_and_the_last_byte()
    {
        const QByteArray good = controller("1214");
        const auto found = events({{1, from_controller, good.left(4)},
                                   {2, from_controller, good.mid(4, 4)},
                                   {3, from_controller, good.mid(8) + good}});
        QCOMPARE(found.size(), 2);
        QCOMPARE(found[0].begin_us, qint64{1000});
        QCOMPARE(found[0].end_us, qint64{3000});
        QCOMPARE(found[1].begin_us, qint64{3000});
    }

    void answers_data()
    {
        QTest::addColumn<double>("answer_ms");
        QTest::addColumn<int>("unanswered");
        QTest::addColumn<int>("late");
        QTest::newRow("at once") << 0.0 << 0 << 0;
        QTest::newRow("in time") << 300.0 << 0 << 0;
        QTest::newRow("late") << 300.001 << 1 << 1;
        QTest::newRow("very late") << 100000.0 << 1 << 1;
    }

    void answers()
    {
        QFETCH(double, answer_ms);
        QFETCH(int, unanswered);
        QFETCH(int, late);
        const Line_statistics counted = statistics(
            {{1000, from_host, host("11")}, {1000 + answer_ms, from_controller, controller("12")}});
        QCOMPARE(counted.host_frames(), quint64{1});
        QCOMPARE(counted.controller_frames(), quint64{1});
        QCOMPARE(counted.unanswered(), quint64(unanswered));
        QCOMPARE(counted.late_answers(), quint64(late));
        QCOMPARE(counted.of(0x11).response.count(), std::size_t(1 - late));
    }

    void a_late_answer_belongs_to_the_last_request_alone()
    {
        const Line_statistics counted = statistics({{0, from_host, host("11")},
                                                    {400, from_host, host("11")},
                                                    {450, from_controller, controller("12")},
                                                    {460, from_controller, controller("12")}});
        QCOMPARE(counted.unanswered(), quint64{1});
        QCOMPARE(counted.late_answers(), quint64{0});
        QCOMPARE(counted.of(0x11).response.most_ms(), 50.0);
    }

    void what_nobody_asked_for_answers_nothing()
    {
        const Line_statistics counted =
            statistics({{0, from_controller, controller("36")}, {1, from_host, host("35")}});
        QCOMPARE(counted.unanswered(), quint64{1});
        QCOMPARE(counted.late_answers(), quint64{0});
    }

    void requests_are_told_with_their_fate()
    {
        const auto found = events({{0, from_host, host("11")},
                                   {1, from_controller, controller("36")},
                                   {2, from_controller, controller("12")},
                                   {3, from_host, host("15")}});
        QCOMPARE(found.size(), 4);
        QCOMPARE(found[0].fate, Line_event::Fate::answered);
        QCOMPARE(found[0].partner, quint64{3});
        QCOMPARE(found[0].response_us, qint64{2000});
        QCOMPARE(found[1].partner, quint64{0});
        QCOMPARE(found[2].partner, quint64{1});
        QCOMPARE(found[3].fate, Line_event::Fate::unanswered);
    }

    void figures()
    {
        QVector<Sent> line = {{0, from_host, host("3502")}};
        for (int i = 0; i < 10; ++i)
            line.append({100.0 + i * 100 + (i % 2), from_controller, controller("3601")});
        line.append({1100, from_controller, broken(controller("3601"))});
        line.append({1101, from_controller, "xyz"});
        line.append({1102, from_controller, frame("7859", "3601")});
        line.append({1103, from_controller, controller("99")});
        const Line_statistics counted = statistics(line);
        QCOMPARE(counted.controller_frames(), quint64{12});
        QCOMPARE(counted.checksum_errors(), quint64{1});
        QCOMPARE(counted.skipped_bytes(), quint64{3});
        QCOMPARE(counted.address_errors(), quint64{1});
        QCOMPARE(counted.unknown_identifiers(), quint64{1});
        QCOMPARE(counted.digest_interval_ms(), 100);
        QCOMPARE(counted.of(0x36).count, quint64{11});
        QCOMPARE(counted.response().quantile_ms(50), 100.0);
        const QJsonObject json = counted.to_json();
        QCOMPARE(json[QStringLiteral("answers")][QStringLiteral("0x35")][QStringLiteral("p50_ms")],
                 QJsonValue(100.0));
        QCOMPARE(json[QStringLiteral("unanswered")], QJsonValue(0));
    }

    void quantiles_are_told_by_their_names()
    {
        QVector<Sent> line;
        for (int i = 1; i <= 100; ++i) {
            line.append({i * 1000.0, from_host, host("11")});
            line.append({i * 1000.0 + i, from_controller, controller("12")});
        }
        const QJsonObject response =
            statistics(line).to_json()[QStringLiteral("response")].toObject();
        QCOMPARE(response, (QJsonObject{{QStringLiteral("count"), 100},
                                        {QStringLiteral("p50_ms"), 50.0},
                                        {QStringLiteral("p90_ms"), 90.0},
                                        {QStringLiteral("p99_ms"), 99.0},
                                        {QStringLiteral("most_ms"), 100.0}}));
    }

    void quantiles_are_times_that_were_there()
    {
        Time_distribution times;
        QCOMPARE(times.quantile_ms(50), 0.0);
        for (int ms = 1; ms <= 10; ++ms)
            times.add(ms * 1000);
        QCOMPARE(times.quantile_ms(50), 5.0);
        QCOMPARE(times.quantile_ms(90), 9.0);
        QCOMPARE(times.quantile_ms(99), 10.0);
        QCOMPARE(times.count_between(2, 5), std::size_t{3});
    }

    void lines_for_people()
    {
        Event_format format;
        QStringList lines;
        for (const Line_event& event :
             events({{1000, from_host, host("11")},
                     {1000.25, from_controller, controller("1214")},
                     {1001, from_controller, controller("1215")},
                     {1002, from_controller, broken(controller("1215"))}})) {
            format.see(event);
            lines.append(format.line(event, Time_style::relative).simplified());
        }
        const QStringList expected = {
            QStringLiteral("1.000000 #1 host 0x11 hardware version request (answered by #2 after "
                           "0.250 ms)"),
            QStringLiteral("1.000250 #2 controller 0x12 hardware version: revision 20 (answers #1 "
                           "after 0.250 ms)"),
            QStringLiteral("1.001000 #3 controller 0x12 hardware version: revision* 21"),
            QStringLiteral("1.002000 #4 controller broken 18 ef 59 78 12 15 00 00 00 00 00 00 00"),
        };
        QCOMPARE(lines, expected);
    }

    void filters_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<int>("wanted");
        QTest::newRow("equal") << QStringLiteral("revision=20") << 1;
        QTest::newRow("other") << QStringLiteral("revision!=20") << 1;
        QTest::newRow("least") << QStringLiteral("revision>=20") << 2;
        QTest::newRow("more") << QStringLiteral("revision>20") << 1;
        QTest::newRow("in volts") << QStringLiteral("analog=0.258 V") << 1;
    }

    void filters()
    {
        QFETCH(QString, field);
        QFETCH(int, wanted);
        Event_filter filter;
        QCOMPARE(filter.want_field(field), QString());
        int found = 0;
        for (const Line_event& event : events({{0, from_controller, controller("1214")},
                                               {1, from_controller, controller("1215")},
                                               {2, from_controller, controller("1e0102")}}))
            found += filter.wants(event) ? 1 : 0;
        QCOMPARE(found, wanted);
    }

    void conditions_that_cannot_be_are_refused()
    {
        Event_filter filter;
        QCOMPARE(filter.want_field(QStringLiteral("speed=1")),
                 QStringLiteral("no message has a field \"speed\""));
        QCOMPARE(filter.want_field(QStringLiteral("revision=fast")),
                 QStringLiteral("\"fast\" is no value of revision"));
        QCOMPARE(filter.want_field(QStringLiteral("revision")),
                 QStringLiteral("\"revision\" is not FIELD=VALUE"));
        QCOMPARE(filter.want_message(QStringLiteral("0x100")),
                 QStringLiteral("\"0x100\" is neither an identifier nor the name of a message"));
    }
};

QTEST_GUILESS_MAIN(Analysis)
#include "analysis.moc"
