// What pages are told of the terminal.

#include "Terminal_values.h"

#include <QTest>

namespace {

/// A list of one list, which braces may mean or not.
QJsonArray only(const QJsonArray& row)
{
    QJsonArray rows;
    rows.append(row);
    return rows;
}

} // namespace

class Values_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void values_are_told_when_they_change()
    {
        Watch_model model;
        Terminal_values values(model);
        QVERIFY(values.take_changes(0, 0).isEmpty());
        model.set_owner(QStringLiteral(":1.1"), 0);
        const int input = model.find(QStringLiteral("/com/quorin/system/device/io/input/analog/0"));
        (void)model.take_reading({input, 0}, no_reading, 1);
        QVERIFY(values.take_changes(1, 1001).isEmpty());
        (void)model.take_reading({input, 0}, 2.5, 2);
        const QJsonArray row = {input, QStringLiteral("get_value"), 2.5, 8};
        QCOMPARE(values.take_changes(10, 1010), only(row));
        QVERIFY(values.take_changes(11, 1011).isEmpty());
        QCOMPARE(values.all(10), only(row));
        model.set_owner({}, 20);
        QCOMPARE(values.take_changes(20, 1020),
                 only({input, QStringLiteral("get_value"), QJsonValue(), 18}));
        QVERIFY(values.all(20).isEmpty());
        // The same value again, after the service has come back.
        model.set_owner(QStringLiteral(":1.2"), 30);
        (void)model.take_reading({input, 0}, 2.5, 31);
        QCOMPARE(static_cast<int>(values.take_changes(32, 1032).size()), 1);
        const auto history = values.history(input, QStringLiteral("get_value"));
        QVERIFY(history.has_value());
        QCOMPARE(*history, (QJsonArray{QJsonArray{1010, 2.5}, QJsonArray{1020, QJsonValue()},
                                       QJsonArray{1032, 2.5}}));
        QVERIFY(!values.history(input, QStringLiteral("nothing")).has_value());
        QVERIFY(!values.history(74, QStringLiteral("get_value")).has_value());
    }

    void events_are_told_each_time_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("member");
        QTest::addColumn<QVariant>("arguments");
        QTest::addColumn<QJsonValue>("told");
        const auto row = [](const char* path, const char* member, const QVariant& arguments,
                            const QJsonValue& told) {
            QTest::newRow(member) << QStringLiteral("/com/quorin/system/") + QLatin1String(path)
                                  << QString::fromLatin1(member) << arguments << told;
        };
        row("power/button", "short_press", QVariantList(), true);
        row("device/io/input/analog/0", "min_pass", 1.5, 1.5);
        row("atx", "received", QVariantList{1, QStringLiteral("x")},
            QJsonArray{1, QStringLiteral("x")});
    }

    void events_are_told_each_time()
    {
        QFETCH(QString, path);
        QFETCH(QString, member);
        QFETCH(QVariant, arguments);
        QFETCH(QJsonValue, told);
        Watch_model model;
        const int object = model.find(path);
        QVERIFY(object >= 0);
        Terminal_values values(model);
        QVERIFY(values.all(0).isEmpty());
        for (int i = 0; i < 2; ++i) {
            values.take_event({path, member, arguments}, 1000);
            QCOMPARE(values.take_changes(1010, 0), only({object, member, told, 10}));
            QVERIFY(values.take_changes(1010, 0).isEmpty());
        }
        QCOMPARE(values.all(1100), only({object, member, told, 100}));
        values.forget_events();
        QCOMPARE(values.take_changes(1200, 0), only({object, member, QJsonValue(), 200}));
        QVERIFY(values.all(1200).isEmpty());
        values.forget_events();
        QVERIFY(values.take_changes(1200, 0).isEmpty());
    }

    void what_is_no_event_is_not_told_as_one()
    {
        Watch_model model;
        Terminal_values values(model);
        const QString analog = QStringLiteral("/com/quorin/system/device/io/input/analog/0");
        values.take_event({analog, QStringLiteral("val_changed"), 1.5}, 0);
        values.take_event({analog, QStringLiteral("get_value"), 1.5}, 0);
        values.take_event({analog, QStringLiteral("short_press"), 1.5}, 0);
        values.take_event({QStringLiteral("/nothing"), QStringLiteral("min_pass"), 1.5}, 0);
        QVERIFY(values.take_changes(0, 0).isEmpty());
    }
};

QTEST_GUILESS_MAIN(Values_test)
#include "terminal_values.moc"
