// The last ten minutes of a value.

#include "Value_history.h"

#include <QTest>

class History_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void a_history_keeps_the_extremes_of_each_half_second()
    {
        Value_history history;
        for (int i = 0; i < 500; ++i)
            history.add(1000 + i, i == 100 ? -7.0 : i == 300 ? 9.0 : 0.5);
        QCOMPARE(history.to_json(false), (QJsonArray{QJsonArray{1100, -7.0}, QJsonArray{1300, 9.0},
                                                     QJsonArray{1499, 0.5}}));
        history.add(1500, std::nullopt);
        history.add(1600, std::nullopt);
        history.add(1700, 1.0);
        const QJsonArray points = history.to_json(true);
        QCOMPARE(static_cast<int>(points.size()), 5);
        QCOMPARE(points[3].toArray(), (QJsonArray{1500, QJsonValue()}));
        QCOMPARE(points[4].toArray(), (QJsonArray{1700, true}));
    }

    void a_history_is_ten_minutes_long_and_no_larger()
    {
        Value_history history;
        history.add(0, 5.0);
        constexpr qint64 day_ms = 24LL * 3600 * 1000;
        for (qint64 now = 1000; now < day_ms; now += 50)
            history.add(now, static_cast<double>(now / 50 % 7));
        QVERIFY(history.size() <= Value_history::most_points);
        const QJsonArray points = history.to_json(false);
        QVERIFY(points[0].toArray()[0].toDouble() <= day_ms - Value_history::length_ms);
        QVERIFY(points[1].toArray()[0].toDouble() > day_ms - Value_history::length_ms - 1000);
    }

    void what_still_holds_is_kept()
    {
        Value_history history;
        history.add(0, 5.0);
        history.add(10 * Value_history::length_ms, 6.0);
        QCOMPARE(history.to_json(false),
                 (QJsonArray{QJsonArray{0, 5.0}, QJsonArray{10 * Value_history::length_ms, 6.0}}));
    }
};

QTEST_GUILESS_MAIN(History_test)
#include "value_history.moc"
