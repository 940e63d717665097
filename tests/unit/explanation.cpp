#include "Explanation.h"

#include <QTest>

namespace {

Message bytes(const QByteArray& hex)
{
    const QByteArray some = QByteArray::fromHex(hex);
    Message message{};
    std::copy(some.begin(), some.end(), message.begin());
    return message;
}

QByteArray hex(const Message& message)
{
    return QByteArray(reinterpret_cast<const char*>(message.data()), message_size).toHex();
}

} // namespace

class Explanation_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void messages_in_words_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QStringList>("fields");
        const auto row = [](const char* message, const QStringList& fields) {
            QTest::newRow(message) << QByteArray(message) << fields;
        };
        row("36050bb809c403e8",
            {"inputs 1010", "analog 3000 mV", "light 2500 mV", "frequency 1000"});
        row("0502020500000000", {"setting 0x02", "mode 2", "with 5"});
        row("0602000001000000", {"line-15 mode 2", "ignition on"});
        row("0b00fe0000000000", {"switch off", "device 0xfe"});
        row("1600070102000000", {"firmware v2.1.7"});
        row("1a001fa0ff010203", {"identifier 001FA0FF010203"});
        row("281516f600197f00", {"temperature0 21", "temperature1 22", "temperature2 -10",
                                 "temperature3 0", "temperature4 25", "temperature5 127"});
        row("2d030414aa010000",
            {"OEM code 2", "offset 4", "value 20", "access write", "constant 1"});
        row("2d0304005a010000", {"OEM code 2", "offset 4", "value 0", "access 0x5a", "constant 1"});
        row("3400d80000000000", {"outputs - on off disabled"});
        row("3502000000000000", {"interval in 50 ms 2"});
        row("4000000000000000", {});
        row("7d01020304050607", {});
    }
    void messages_in_words()
    {
        QFETCH(QByteArray, message);
        QFETCH(QStringList, fields);
        QStringList texts;
        for (const Explained_field& each : explain(bytes(message)))
            texts.append(label_of(*each.field) + QLatin1Char(' ') + each.text);
        QCOMPARE(texts, fields);
    }

    void values_are_in_their_units()
    {
        const auto digest = explain(bytes("36050bb809c403e8"));
        QCOMPARE(digest[1].number, qint64{3000});
        QCOMPARE(digest[1].value, 3.0);
        QCOMPARE(digest[1].field->unit.name, "V");
        QCOMPARE(explain(bytes("3502"))[0].value, 100.0);
        QCOMPARE(explain(bytes("327f"))[0].value, 50.0);
    }

    void a_short_message_has_fewer_fields()
    {
        const Message digest = bytes("36050bb809c403e8");
        QCOMPARE(explain(digest.data(), 6).size(), 3);
        QCOMPARE(explain(digest.data(), 5).size(), 2);
        QCOMPARE(explain(digest.data(), 1).size(), 0);
        QCOMPARE(explain(nullptr, 0).size(), 0);
    }

    void styles_are_named_as_in_the_sources()
    {
        QCOMPARE(name_of(Field_style::decimal), "decimal");
        QCOMPARE(name_of(Field_style::hexadecimal), "hexadecimal");
        QCOMPARE(name_of(Field_style::named), "named");
    }

    void every_text_leads_back_to_its_number()
    {
        for (const Field& field : field_catalogue) {
            for (const qint64 number :
                 {field.least, field.most, field.least / 3 + field.most / 2}) {
                if (!field.may_be(number))
                    continue;
                const QString text = text_of(field, number);
                QVERIFY2(number_of(field, text).value_or(-1000) == number,
                         qPrintable(QLatin1String(field.name) + QLatin1Char(' ') + text));
            }
            for (const Code& code : field.codes) {
                if (field.type != Field_type::two_bits)
                    QCOMPARE(number_of(field, QLatin1String(code.name)).value_or(-1),
                             qint64{code.first});
            }
        }
    }

    void texts_of_numbers_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("number"); // -1 for none
        const auto row = [](const char* message, const char* field, const char* text, int number) {
            QTest::addRow("%s %s %s", message, field, text)
                << QString::fromLatin1(message) << QString::fromLatin1(field)
                << QString::fromLatin1(text) << number;
        };
        row("digest", "analog", "2500", 2500);
        row("digest", "analog", "2500 mV", 2500);
        row("digest", "analog", "2.5 V", 2500);
        row("digest", "analog", "0x10", 16);
        row("digest", "analog", "65536", -1);
        row("digest", "analog", "70 V", -1);
        row("digest", "analog", "2.5", -1);
        row("digest", "analog", "", -1);
        row("digest", "inputs", "1010", 5);
        row("digest", "inputs", "5", 5);
        row("digest", "inputs", "16", -1);
        row("digest_request", "interval", "100 ms", 2);
        row("digest_request", "interval", "2", 2);
        row("backlight", "level", "query", 255);
        row("backlight", "level", "255", 255);
        row("backlight", "level", "50 %", 127);
        row("backlight_report", "level", "255", -1);
        row("digital_outputs", "outputs", "- on off disabled", 0xd8);
        row("digital_outputs", "outputs", "on off", -1);
        row("configuration", "access", "write", 0xaa);
        row("configuration", "access", "0x55", 0x55);
        row("configuration", "access", "1", -1);
        row("firmware_version", "firmware", "v2.1.7", 0x020107);
        row("firmware_version", "firmware", "2.1.7", 0x020107);
        row("firmware_version", "firmware", "2.1.256", -1);
        row("firmware_version", "firmware", "v2.1", -1);
        row("firmware_version", "firmware", "v2.x.7", -1);
        row("unique_id", "identifier", "00000000000010", 16);
        row("unique_id", "identifier", "-0000000000010", -1);
        row("unique_id", "identifier", "0000000000001G", -1);
        row("unique_id", "identifier", "10", 10);
    }
    void texts_of_numbers()
    {
        QFETCH(QString, message);
        QFETCH(QString, field);
        QFETCH(QString, text);
        QFETCH(int, number);
        const Message_kind* kind = find_message(message.toStdString());
        QVERIFY(kind != nullptr);
        const Field* row = find_field(kind->id, field.toStdString());
        QVERIFY(row != nullptr);
        QCOMPARE(number_of(*row, text).value_or(-1), qint64{number});
    }

    void messages_by_name()
    {
        QString error;
        const auto write = compose(
            *find_message("configuration"),
            {{"oem_code", "2"}, {"offset", "4"}, {"value", "20"}, {"access", "write"}}, error);
        QVERIFY2(write.has_value(), qPrintable(error));
        QCOMPARE(hex(*write), QByteArray("2d030414aa010000"));
        const auto outputs =
            compose(*find_message("digital_outputs"), {{"outputs", "- - - on"}}, error);
        QVERIFY2(outputs.has_value(), qPrintable(error));
        QCOMPARE(hex(*outputs), QByteArray("3380800000000000"));
    }

    void what_cannot_be_composed_says_why()
    {
        QString error;
        QVERIFY(!compose(*find_message("digest"), {{"level", "1"}}, error));
        QCOMPARE(error, QStringLiteral("digest has no field \"level\""));
        QVERIFY(!compose(*find_message("digest"), {{"inputs", "maybe"}}, error));
        QCOMPARE(error, QStringLiteral("\"maybe\" is no value of inputs"));
    }
};

QTEST_GUILESS_MAIN(Explanation_test)
#include "explanation.moc"
