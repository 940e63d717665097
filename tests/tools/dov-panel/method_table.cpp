// The methods that pages may call, and their arguments.

#include "Method_table.h"

#include "Object_catalogue.h"

#include <QTest>

class Methods_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void the_methods_are_those_of_every_interface()
    {
        const Method_table methods;
        for (const Catalogue_object& object : catalogue())
            for (const Value_row& value : object.kind->values)
                if (value.getter != nullptr) {
                    const auto* const method =
                        methods.find(object.interface, QString::fromLatin1(value.getter));
                    QVERIFY2(method != nullptr, value.getter);
                    QVERIFY2(!method->changes, value.getter);
                }
        const QString backlight = QStringLiteral("com.quorin.system.device.dimmable");
        const auto* const set = methods.find(backlight, QStringLiteral("set_brightness"));
        QVERIFY(set != nullptr);
        QVERIFY(set->changes);
        QCOMPARE(set->arguments, QStringList{QStringLiteral("d")});
        const auto* const on = methods.find(
            QStringLiteral("com.quorin.system.device.io.output.digital"), QStringLiteral("on"));
        QVERIFY(on != nullptr);
        QVERIFY(on->changes);
        QVERIFY(methods.find(backlight, QStringLiteral("nothing")) == nullptr);
        QVERIFY(methods.find(QStringLiteral("nothing"), QStringLiteral("on")) == nullptr);
    }

    void arguments_have_their_types_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QJsonArray>("value");
        QTest::addColumn<QVariant>("expected"); // invalid for none
        const auto row = [](const char* name, const char* type, const QJsonValue& value,
                            const QVariant& expected) {
            QTest::newRow(name) << QString::fromLatin1(type) << QJsonArray{value} << expected;
        };
        row("truth", "b", true, true);
        row("no truth", "b", 1, {});
        row("number", "d", 1.5, 1.5);
        row("no number", "d", QStringLiteral("1.5"), {});
        row("text", "s", QStringLiteral("x"), QStringLiteral("x"));
        row("byte", "y", 255, QVariant::fromValue<uchar>(255));
        row("no byte", "y", 256, {});
        row("no byte either", "y", -1, {});
        row("no whole byte", "y", 1.5, {});
        row("integer", "i", -5, -5);
        row("unsigned", "u", 4294967295.0, 4294967295U);
        row("no unsigned", "u", -1, {});
        row("unknown", "a", QJsonArray{}, {});
    }

    void arguments_have_their_types()
    {
        QFETCH(QString, type);
        QFETCH(QJsonArray, value);
        QFETCH(QVariant, expected);
        QString error;
        const auto values =
            Method_table::values_of({QStringLiteral("m"), {type}, true}, value, error);
        QCOMPARE(values.has_value(), expected.isValid());
        if (!values) {
            QCOMPARE(error, QStringLiteral("argument 1 of m is not of the type %1").arg(type));
            return;
        }
        QCOMPARE(values->first(), expected);
        QCOMPARE(values->first().userType(), expected.userType());
    }
};

QTEST_GUILESS_MAIN(Methods_test)
#include "method_table.moc"
