// What pages are told of the line.

#include "Line_watch.h"

#include "Line_records.h"

#include <QTest>

class Line_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void frames_are_told_with_their_answers()
    {
        Line_watch line;
        line.set_wanted(true);
        constexpr qint64 begin_us = 1700000000000000;
        line.take(record_at(begin_us, Sender::host, version_request));
        line.take(record_at(begin_us + 5000, Sender::controller, version_answer));
        const QJsonArray frames = line.take_frames();
        QCOMPARE(static_cast<int>(frames.size()), 2);
        const QJsonObject request = frames[0].toObject();
        const QJsonObject answer = frames[1].toObject();
        QCOMPARE(request.value(QStringLiteral("n")).toInt(), 1);
        QCOMPARE(request.value(QStringLiteral("time")).toDouble(), 1700000000000.0);
        QCOMPARE(request.value(QStringLiteral("from")).toString(), QStringLiteral("host"));
        QCOMPARE(request.value(QStringLiteral("id")).toInt(), 0x11);
        QCOMPARE(request.value(QStringLiteral("fault")), QJsonValue());
        QCOMPARE(request.value(QStringLiteral("bytes")).toString(),
                 QString::fromLatin1(version_request.toHex()));
        QCOMPARE(answer.value(QStringLiteral("answers")).toInt(), 1);
        QCOMPARE(answer.value(QStringLiteral("response_ms")).toDouble(), 5.0);
        QVERIFY(line.take_frames().isEmpty());
        QCOMPARE(line.counters().value(QStringLiteral("host_frames")).toInt(), 1);
        const QByteArray text = line.memory().text().next();
        QCOMPARE_CONTAINS(text, "0.000000 host       18ef78591100000000000000e9");
        QCOMPARE_CONTAINS(text, "0.005000 controller 18ef59781214000000000000fe");
    }

    void frames_that_nobody_takes_are_counted()
    {
        Line_watch line;
        line.set_wanted(true);
        for (int i = 0; i < Line_watch::most_frames + 10; ++i)
            line.take(record_at(i, Sender::controller, version_answer));
        QCOMPARE(static_cast<int>(line.take_frames().size()), Line_watch::most_frames);
        QCOMPARE(line.take_dropped(), quint64{10});
        QCOMPARE(line.take_dropped(), quint64{0});
        line.set_wanted(false);
        line.take(record_at(5000, Sender::controller, version_answer));
        QVERIFY(line.take_frames().isEmpty());
    }
};

QTEST_GUILESS_MAIN(Line_test)
#include "line_watch.moc"
