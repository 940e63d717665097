// How values, ages and lines are written, and the sparkline of the last minute.

#include "Formats.h"

#include "History.h"

#include <QTest>
#include <QTimeZone>

#include <limits>

class Formats : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void plain_texts_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("raw millivolts") << QVariant(12340 * 0.001) << "12.34";
        QTest::newRow("nine digits") << QVariant(100.0 / 3) << "33.3333333";
        QTest::newRow("rounded at nine digits") << QVariant(94 * 100.0 / 254) << "37.007874";
        QTest::newRow("no reading") << QVariant(-1000000.0) << "-1000000";
        QTest::newRow("yes") << QVariant(true) << "true";
        QTest::newRow("no") << QVariant(false) << "false";
        QTest::newRow("byte") << QVariant::fromValue(uchar{200}) << "200";
        QTest::newRow("text with newline") << QVariant("1234\n") << "1234\\n";
        QTest::newRow("text with control character") << QVariant(QString(QChar(27))) << "\\x1b";
        QTest::newRow("list") << QVariant(QVariantList{"/media/usb0", true}) << "/media/usb0 true";
        QTest::newRow("nothing") << QVariant(QVariantList()) << "";
    }
    void plain_texts()
    {
        QFETCH(QVariant, value);
        QFETCH(QString, text);
        QCOMPARE(plain_text(value), text);
    }

    void value_texts()
    {
        const Value_row volts = {"get", nullptr, "d", Reading::always, {"V", 3}};
        const Value_row state = {"get", nullptr, "b", Reading::always};
        const QString dash = QStringLiteral("-");
        QCOMPARE(value_text(volts, 12.3456, dash), QStringLiteral("12.346 V"));
        QCOMPARE(value_text(volts, -1000000.0, dash), dash);
        QCOMPARE(value_text(volts, QVariant(), dash), dash);
        QCOMPARE(value_text(state, true, dash), QStringLiteral("on"));
        QCOMPARE(value_text(state, false, dash), QStringLiteral("off"));
        QCOMPARE(value_text(state, QStringLiteral("1234\n"), dash), QStringLiteral("1234"));
    }

    void ages_data()
    {
        QTest::addColumn<qint64>("age_ms");
        QTest::addColumn<QString>("text");
        QTest::newRow("now") << qint64{0} << "0.0s";
        QTest::newRow("tenths") << qint64{9999} << "9.9s";
        QTest::newRow("seconds") << qint64{10000} << "10s";
        QTest::newRow("almost a minute") << qint64{59999} << "59s";
        QTest::newRow("minute") << qint64{60000} << "1m";
        QTest::newRow("hour") << qint64{3600000} << "1h";
        QTest::newRow("day") << qint64{86400000} << "1d";
    }
    void ages()
    {
        QFETCH(qint64, age_ms);
        QFETCH(QString, text);
        QCOMPARE(age_text(age_ms), text);
    }

    void lines()
    {
        const QDateTime time(QDate(2024, 2, 29), QTime(12, 30, 1, 7), QTimeZone::utc());
        const Change number = {QStringLiteral("/a/0"), QStringLiteral("val_changed"), 0.1 + 0.2};
        QCOMPARE(change_line(number, time),
                 QByteArray("2024-02-29T12:30:01.007Z /a/0 val_changed 0.3\n"));
        QCOMPARE(change_json(number, time),
                 QByteArray("{\"member\":\"val_changed\",\"path\":\"/a/0\","
                            "\"time\":\"2024-02-29T12:30:01.007Z\",\"value\":0.3}\n"));
        const Change event = {QStringLiteral("/atx"), QStringLiteral("received"), QVariantList()};
        QCOMPARE(change_line(event, time), QByteArray("2024-02-29T12:30:01.007Z /atx received\n"));
        QCOMPARE(change_json(event, time),
                 QByteArray("{\"member\":\"received\",\"path\":\"/atx\","
                            "\"time\":\"2024-02-29T12:30:01.007Z\",\"value\":[]}\n"));
    }

    void json_values_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("state") << QVariant(true) << QByteArray("true");
        QTest::newRow("byte") << QVariant::fromValue(uchar{255}) << QByteArray("255");
        QTest::newRow("count") << QVariant(300U) << QByteArray("300");
        QTest::newRow("newline") << QVariant("a\n\"b\"") << QByteArray("\"a\\n\\\"b\\\"\"");
        QTest::newRow("list") << QVariant(QVariantList{QVariant::fromValue(uchar{1}), 0.5})
                              << QByteArray("[1,0.5]");
        QTest::newRow("no number")
            << QVariant(std::numeric_limits<double>::quiet_NaN()) << QByteArray("null");
    }
    void json_values()
    {
        QFETCH(QVariant, value);
        QFETCH(QByteArray, text);
        const QByteArray line = change_json({QString(), QString(), value}, {});
        QCOMPARE_ENDS(line, ",\"value\":" + text + "}\n");
    }

    void sparkline_of_nothing()
    {
        QCOMPARE(History().sparkline(4, QStringLiteral("012"), 1), QStringLiteral("    "));
        QCOMPARE(History().sparkline(0, QStringLiteral("012"), 1), QString());
        QVERIFY(!History().range());
    }

    void sparkline_rises_from_lowest_to_highest()
    {
        History history;
        for (int i = 0; i < History::length; ++i)
            history.add(i);
        QCOMPARE(history.sparkline(8, QStringLiteral("01234567"), 1), QStringLiteral("01234567"));
        QCOMPARE(history.range()->least, 0.0);
        QCOMPARE(history.range()->greatest, 119.0);
        // The oldest goes when the minute is full.
        history.add(-1000);
        QCOMPARE(history.range()->least, -1000.0);
        history.add(5);
        for (int i = 2; i < History::length; ++i)
            history.add(5);
        QCOMPARE(history.range()->greatest, 5.0);
    }

    void sparkline_leaves_gaps_and_scales_noise_down()
    {
        History history;
        for (int i = 0; i < History::length / 2; ++i)
            history.add(std::nullopt);
        for (int i = 0; i < History::length / 2; ++i)
            history.add(i % 2 == 0 ? 10.0 : 10.001);
        QCOMPARE(history.sparkline(4, QStringLiteral("012"), 1), QStringLiteral("  00"));
    }
};

QTEST_GUILESS_MAIN(Formats)
#include "formats.moc"
