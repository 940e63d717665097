// What goes over the line: frames, and what faults make of them.

#include "Faults.h"

#include "Frame.h"
#include "Meaning.h"
#include "Message_catalogue.h"
#include "Schedule.h"

#include <QTest>

using Origin = Faults::Origin;

class Line_bytes : public QObject {
    Q_OBJECT

    static QByteArray first_frame(const QVector<Transmission>& transmissions)
    {
        QByteArray bytes;
        for (const QByteArray& piece : transmissions.value(0).pieces)
            bytes.append(piece);
        return bytes;
    }

    const QByteArray good_ = QByteArray::fromHex("18ef59781214000000000000fe");

private Q_SLOTS:
    void a_frame_has_the_controllers_addresses_and_a_checksum()
    {
        QCOMPARE(Frame::build(message(0x12, 0x14)), good_);
        QVERIFY(Frame::is_whole(good_));
        QVERIFY(Frame::has_addresses(good_, 0x59, 0x78));
        QCOMPARE(Frame::message_of(good_), message(0x12, 0x14));
    }

    void without_faults_a_message_is_one_whole_frame()
    {
        Faults faults;
        for (const Origin origin : {Origin::answer, Origin::report}) {
            const auto result = faults.shape(message(0x12, 0x14), origin, 70);
            QCOMPARE(result.size(), 1);
            QCOMPARE(result[0].start_ms, 70);
            QCOMPARE(result[0].pieces, QVector<QByteArray>{good_});
        }
    }

    void silence_ends_when_told_or_by_itself()
    {
        Faults faults;
        const auto is_heard = [&faults](qint64 now) {
            return !faults.shape(message(0x12), Origin::report, now).isEmpty();
        };
        faults.set_silence(true);
        QVERIFY(!is_heard(0));
        faults.set_silence(false);
        QVERIFY(is_heard(0));
        faults.set_silence_until(100);
        QVERIFY(!is_heard(99));
        QVERIFY(is_heard(100));
    }

    void only_answers_are_late_or_double()
    {
        Faults faults;
        faults.set_late(400);
        faults.set_double(true);
        const auto answers = faults.shape(message(0x12, 0x14), Origin::answer, 10);
        QCOMPARE(answers.size(), 2);
        for (const Transmission& answer : answers) {
            QCOMPARE(answer.start_ms, 410);
            QCOMPARE(answer.pieces, QVector<QByteArray>{good_});
        }
        const auto reports = faults.shape(message(0x12, 0x14), Origin::report, 10);
        QCOMPARE(reports.size(), 1);
        QCOMPARE(reports[0].start_ms, 10);
    }

    void corruption_spoils_the_checksum_alone()
    {
        Faults faults;
        faults.set_corrupt_next(2);
        for (const bool spoiled : {true, true, false, false}) {
            const QByteArray frame =
                first_frame(faults.shape(message(0x12, 0x14), Origin::report, 0));
            QCOMPARE(frame.left(12), good_.left(12));
            QCOMPARE(Frame::is_whole(frame), !spoiled);
        }
    }

    void corruption_at_a_rate_repeats_with_its_seed()
    {
        const auto run = [](quint32 seed, double percent) {
            Faults faults;
            faults.set_seed(seed);
            faults.set_corrupt_percent(percent);
            QByteArray spoiled;
            for (int i = 0; i < 1000; ++i)
                spoiled.append(
                    Frame::is_whole(first_frame(faults.shape(message(0x12), Origin::report, 0)))
                        ? '.'
                        : 'x');
            return spoiled;
        };
        QCOMPARE(run(1, 0).count('x'), 0);
        QCOMPARE(run(1, 100).count('x'), 1000);
        QCOMPARE_LT(std::abs(run(1, 20).count('x') - 200), 60);
        QCOMPARE(run(1, 20), run(1, 20));
        QCOMPARE_NE(run(1, 20), run(2, 20));
    }

    void other_addresses_leave_the_checksum_right()
    {
        Faults faults;
        faults.set_addresses(QPair<uchar, uchar>(0x78, 0x01));
        const QByteArray frame = first_frame(faults.shape(message(0x12), Origin::report, 0));
        QCOMPARE(frame, QByteArray::fromHex("18ef7801"
                                            "1200000000000000"
                                            "ea"));
    }

    void a_split_frame_is_whole_in_pieces()
    {
        Faults faults;
        faults.set_split(5, 30);
        const auto result = faults.shape(message(0x12, 0x14), Origin::report, 0);
        QCOMPARE(result.size(), 1);
        QCOMPARE(result[0].gap_ms, 30);
        QCOMPARE(result[0].pieces.size(), 3);
        QCOMPARE(result[0].pieces[0], good_.left(5));
        QCOMPARE(first_frame(result), good_);
    }

    void clear_ends_every_fault()
    {
        Faults faults;
        faults.set_silence(true);
        faults.set_silence_until(1000);
        faults.set_late(1);
        faults.set_corrupt_next(5);
        faults.set_corrupt_percent(100);
        faults.set_addresses(QPair<uchar, uchar>(1, 2));
        faults.set_split(1, 1);
        faults.set_double(true);
        faults.clear();
        const auto result = faults.shape(message(0x12, 0x14), Origin::answer, 0);
        QCOMPARE(result.size(), 1);
        QCOMPARE(result[0].start_ms, 0);
        QCOMPARE(result[0].pieces, QVector<QByteArray>{good_});
    }

    void garbage_has_its_length_and_repeats_with_its_seed()
    {
        Faults one;
        Faults other;
        QCOMPARE(one.garbage(100).size(), 100);
        other.garbage(100);
        QCOMPARE(one.garbage(50), other.garbage(50));
    }

    void the_line_takes_one_transmission_after_the_other()
    {
        Schedule schedule;
        schedule.add({400, {"late"}});
        schedule.add({10, {"a", "b", "c"}, 20});
        schedule.add({15, {"x"}});
        schedule.add({15, {"y"}});
        QCOMPARE_EMPTY(schedule.take(9));
        QCOMPARE(*schedule.next_time(), 10);
        QCOMPARE(schedule.take(10), QByteArray("a"));
        QCOMPARE_EMPTY(schedule.take(29)); // x waits for the end of a, b, c
        QCOMPARE(schedule.take(30), QByteArray("b"));
        QCOMPARE(schedule.take(50), QByteArray("c"));
        QCOMPARE(schedule.take(50), QByteArray("x"));
        QCOMPARE(schedule.take(50), QByteArray("y"));
        QCOMPARE(*schedule.next_time(), 400);
        schedule.clear();
        QVERIFY(!schedule.next_time());
    }

    void every_message_has_a_meaning()
    {
        for (const Message_kind& kind : message_catalogue)
            QCOMPARE_STARTS(meaning_of(message(kind.id)), QLatin1String(kind.label));
        QCOMPARE(meaning_of(message(0x7d)), QStringLiteral("unknown 0x7d"));
    }

    void meanings()
    {
        const auto in_frame = [](const Message& content) {
            return meaning_of_bytes(Frame::build(content), true);
        };
        QCOMPARE(in_frame(message(0x36, 0x05, 0x09, 0xc4, 0x13, 0x83, 0x01, 0x00)),
                 QStringLiteral("digest: inputs 1010, analog 2500 mV, light 4995 mV, "
                                "frequency 256"));
        QCOMPARE(in_frame(message(0x16, 0, 7, 1, 2)),
                 QStringLiteral("firmware version: firmware v2.1.7"));
        QCOMPARE(in_frame(message(0x34, 0, 0xd8)),
                 QStringLiteral("digital output report: outputs - on off disabled"));
        QCOMPARE(in_frame(message(0x2e, 0, 4, 15)),
                 QStringLiteral("configuration report: OEM code 255, offset 4, value 15"));
        QCOMPARE(meaning_of_bytes(Frame::build(message(0x35, 2), 0x78, 0x59), false),
                 QStringLiteral("digest request: interval in 50 ms 2"));
    }

    void what_is_wrong_with_a_frame_is_said()
    {
        QByteArray spoiled = good_;
        spoiled[12] = '\0';
        QCOMPARE(meaning_of_bytes(spoiled, true),
                 QStringLiteral("hardware version: revision 20 (wrong checksum)"));
        QCOMPARE(meaning_of_bytes(good_, false),
                 QStringLiteral("hardware version: revision 20 (wrong addresses)"));
        QCOMPARE(meaning_of_bytes(good_.left(5), true), QStringLiteral("no whole frame"));
    }
};

QTEST_GUILESS_MAIN(Line_bytes)
#include "faults.moc"
