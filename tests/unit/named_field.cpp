#include "Named_field.h"

namespace {

constexpr U16_field analog = {Message_id::digest, "analog"};
constexpr I8_field temperature = {Message_id::temperatures, "temperature2"};
constexpr U8_field oem_code = {Message_id::configuration, "oem_code"};
constexpr U8_field outputs = {Message_id::digital_outputs, "outputs"};
constexpr Flag_field ignition = {Message_id::power_response, "ignition"};
constexpr Long_field firmware = {Message_id::firmware_version, "firmware"};
constexpr Long_field identifier = {Message_id::unique_id, "identifier"};

template <class... Bytes>
Message some(Bytes... bytes)
{
    return {static_cast<uchar>(bytes)...};
}

} // namespace

class Named_field_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void a_field_refuses_what_is_too_short_or_something_else()
    {
        const Message digest = some(0x36, 5, 0x0b, 0xb8, 9, 0xc4, 3, 0xe8);
        QCOMPARE(analog.read(digest.data(), 4).value_or(0), quint16{3000});
        QCOMPARE(analog.read_scaled(digest.data(), 8).value_or(0), 3000 * 0.001);
        QVERIFY(!analog.read(digest.data(), 3));
        QVERIFY(!analog.read_scaled(digest.data(), 3));
        QVERIFY(!analog.read(digest.data(), 0));
        const Message other = some(0x35, 5, 0x0b, 0xb8);
        QVERIFY(!analog.read(other.data(), 8));
    }

    void bytes_of_each_type()
    {
        QCOMPARE(temperature.of(some(0x28, 0, 0, 0xf6)), qint8{-10});
        QCOMPARE(oem_code.of(some(0x2d, 0)), uchar{255});
        QCOMPARE(oem_code.of(some(0x2d, 3)), uchar{2});
        QCOMPARE(ignition.of(some(0x06, 0, 0, 0, 0x80)), true);
        QCOMPARE(firmware.of(some(0x16, 0, 7, 1, 2)), qint64{0x020107});
        QCOMPARE(identifier.of(some(0x1a, 0, 0x1f, 0xa0, 0xff, 1, 2, 3)), qint64{0x001fa0ff010203});

        Message message = some(0x2d);
        oem_code.write(message, 255);
        QCOMPARE(message, some(0x2d, 0));
        message = some(0x33);
        outputs.write(message, 0x80);
        QCOMPARE(message, some(0x33, 0x80, 0x80));
        message = some(0x06);
        ignition.write(message, true);
        QCOMPARE(message, some(0x06, 0, 0, 0, 1));
        message = some(0x36);
        analog.write(message, 0x12345);
        QCOMPARE(message, some(0x36, 0, 0x23, 0x45));
        message = some(0x16);
        firmware.write(message, 0x020107);
        QCOMPARE(message, some(0x16, 0, 7, 1, 2));
        message = some(0x1a);
        identifier.write(message, qint64{0x001fa0ff010203});
        QCOMPARE(message, some(0x1a, 0, 0x1f, 0xa0, 0xff, 1, 2, 3));
    }
};

QTEST_GUILESS_MAIN(Named_field_test)
#include "named_field.moc"
