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
        QTest::addColumn<QVariantList>("arguments");
        QTest::addColumn<QJsonValue>("told");
        const auto row = [](const char* path, const char* member, const QVariantList& arguments,
                            const QJsonValue& told) {
            QTest::newRow(member) << QStringLiteral("/com/quorin/system/") + QLatin1String(path)
                                  << QString::fromLatin1(member) << arguments << told;
        };
        row("power/button", "short_press", {1}, 1);
        row("device/io/input/analog/0", "min_pass", {1.5}, 1.5);
        row("atx", "received", {}, true);
        row("media", "connection", {QStringLiteral("/media/usb0"), true},
            QJsonArray{QStringLiteral("/media/usb0"), true});
    }

    void events_are_told_each_time()
    {
        QFETCH(QString, path);
        QFETCH(QString, member);
        QFETCH(QVariantList, arguments);
        QFETCH(QJsonValue, told);
        Watch_model model;
        const int object = model.find(path);
        QVERIFY(object >= 0);
        const QString interface =
            model.objects().at(static_cast<std::size_t>(object)).entry.interface;
        Terminal_values values(model);
        QVERIFY(values.all(0).isEmpty());
        for (int count = 1; count < 3; ++count) {
            (void)model.take_signal(path, interface, member, arguments, 1000);
            QCOMPARE(values.take_changes(1010, 0), only({object, member, told, 10, count}));
            QVERIFY(values.take_changes(1010, 0).isEmpty());
        }
        // Two at once are counted as two.
        (void)model.take_signal(path, interface, member, arguments, 1020);
        (void)model.take_signal(path, interface, member, arguments, 1030);
        QCOMPARE(values.take_changes(1040, 0), only({object, member, told, 10, 4}));
        QCOMPARE(values.all(1130), only({object, member, told, 100, 4}));
        // What has happened has happened.
        model.set_owner({}, 1200);
        QVERIFY(values.take_changes(1200, 0).isEmpty());
        QCOMPARE(values.all(1230), only({object, member, told, 200, 4}));
    }

    void signals_of_values_are_counted_once_a_second()
    {
        Watch_model model;
        Terminal_values values(model);
        model.set_owner(QStringLiteral(":1.1"), 0);
        const QString path = QStringLiteral("/com/quorin/system/device/io/input/analog/0");
        const QString interface = QStringLiteral("com.quorin.system.device.io.input.analog");
        const QString member = QStringLiteral("val_changed");
        const int input = model.find(path);
        const auto value_row = [input](double value) {
            return QJsonArray{input, QStringLiteral("get_value"), value, 0};
        };
        const auto signal_row = [&](double value, int count) {
            return QJsonArray{input, member, QJsonArray{value, false}, 0, count};
        };
        const auto come = [&](double value, qint64 now_ms) {
            (void)model.take_signal(path, interface, member, {value, false}, now_ms);
            return values.take_changes(now_ms, 0);
        };
        QCOMPARE(come(1.5, 5000), (QJsonArray{value_row(1.5), signal_row(1.5, 1)}));
        const qint64 soon = 5000 + Terminal_values::count_ms;
        QCOMPARE(come(2.5, soon - 1), only(value_row(2.5)));
        QCOMPARE(come(3.5, soon), (QJsonArray{value_row(3.5), signal_row(3.5, 3)}));
    }

    void other_signals_are_not_told()
    {
        Watch_model model;
        Terminal_values values(model);
        const QString path = QStringLiteral("/com/quorin/system/device/io/input/analog/0");
        const QString interface = QStringLiteral("com.quorin.system.device.io.input.analog");
        (void)model.take_signal(path, interface, QStringLiteral("short_press"), {1.5}, 0);
        (void)model.take_signal(QStringLiteral("/nothing"), interface, QStringLiteral("min_pass"),
                                {1.5}, 0);
        QVERIFY(values.take_changes(0, 0).isEmpty());
    }
};

QTEST_GUILESS_MAIN(Values_test)
#include "terminal_values.moc"
