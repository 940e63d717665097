#include "Field_catalogue.h"

#include "Message_catalogue.h"

namespace {

template <class... Bytes>
Message some(Bytes... bytes)
{
    return {static_cast<uchar>(bytes)...};
}

} // namespace

class Field_catalogue_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void every_field_lies_in_its_message_and_none_in_another()
    {
        uint last_id = 0;
        uint end = 1;
        for (const Field& field : field_catalogue) {
            const QByteArray what = QByteArray::number(field.id, 16) + ' ' + field.name;
            QVERIFY2(find_message(field.id) != nullptr, what + " has no message of its own");
            QVERIFY2(field.id >= last_id,
                     what + " stands behind " + QByteArray::number(last_id, 16));
            if (field.id != last_id)
                end = 1;
            const QByteArray bytes = " has the bytes " + QByteArray::number(field.first) + " to " +
                                     QByteArray::number(field.end() - 1);
            QVERIFY2(field.first >= end, what + bytes + ", and the field before ends at " +
                                             QByteArray::number(end - 1));
            QVERIFY2(field.end() <= message_size, what + bytes + ", of 7");
            QVERIFY2(find_field(field.id, field.name) == &field,
                     what + " is not found by its name");
            last_id = field.id;
            end = field.end();
        }
    }

    void every_field_reads_what_it_has_written()
    {
        for (const Field& field : field_catalogue) {
            const qint64 numbers[] = {field.least, field.most, (field.least + field.most) / 2};
            for (const qint64 number : numbers) {
                if (!field.may_be(number))
                    continue;
                Message message = blank_message(field.id);
                field.put(message, number);
                QVERIFY2(field.get(message.data()) == number,
                         qPrintable(QStringLiteral("%1 %2: wrote %3, read %4")
                                        .arg(uint{field.id}, 0, 16)
                                        .arg(QLatin1String(field.name))
                                        .arg(number)
                                        .arg(field.get(message.data()))));
            }
        }
    }

    void a_field_says_nothing_that_it_is_not_told()
    {
        constexpr Field field = {0x20, 1, 1, Field_type::u8};
        QCOMPARE(int{field.count}, 1);
        QCOMPARE(field.least, qint64{0});
        QCOMPARE(field.most, qint64{0});
        QCOMPARE(field.scaled(7), 7.0);
        QVERIFY(field.codes.empty());
        QCOMPARE(field.codes.size(), std::size_t{0});
    }

    void a_number_is_in_the_range_or_has_a_code_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<bool>("in_range_or_coded");
        QTest::addColumn<QByteArray>("code"); // null for none
        const QByteArray none;
        const auto row = [](int number, bool may_be, const QByteArray& code) {
            QTest::newRow(QByteArray::number(number)) << number << may_be << code;
        };
        row(-1, false, none);
        row(0, false, none);
        row(1, false, none);
        row(2, true, none);
        row(5, true, none);
        row(6, false, none);
        row(9, false, none);
        row(10, true, "ten or more");
        row(12, true, "ten or more");
        row(13, false, none);
    }
    void a_number_is_in_the_range_or_has_a_code()
    {
        QFETCH(int, number);
        QFETCH(bool, in_range_or_coded);
        QFETCH(QByteArray, code);
        static constexpr Code codes[] = {{10, 12, "ten or more"}};
        constexpr Field field = {0x20, 1, 1, Field_type::u8};
        QCOMPARE(field.from(2, 5).means(codes).codes.size(), std::size_t{1});
        QCOMPARE(field.from(2, 5).means(codes).may_be(number), in_range_or_coded);
        QCOMPARE(field.one_of(codes).may_be(number), !code.isNull());
        QCOMPARE(QByteArray(field.one_of(codes).code_name(number)), code);
    }

    void a_blank_message_has_what_is_always_the_same()
    {
        QCOMPARE(blank_message(0x29), some(0x29, 1));
        QCOMPARE(blank_message(0x2d), some(0x2d, 0, 0, 0, 0, 1));
        QCOMPARE(blank_message(0x36), some(0x36));
        QCOMPARE(blank_message(0x7d), some(0x7d));
    }

    void scales_are_exact()
    {
        const auto scale = [](uchar id, const char* name) {
            return QByteArray::number(find_field(id, name)->unit.scale, 'g', 17);
        };
        QCOMPARE(scale(0x36, "analog"), QByteArray("0.001"));
        QCOMPARE(scale(0x32, "level"), QByteArray("0.39370078740157483"));
        QCOMPARE(scale(0x35, "interval"), QByteArray("50"));
    }
};

QTEST_GUILESS_MAIN(Field_catalogue_test)
#include "field_catalogue.moc"
