// Every message and every field against a table written by hand.

#include "Message_catalogue.h"

#include "Named_field.h"

#include <QTest>

namespace {

const char* type_name(Field_type type)
{
    switch (type) {
    case Field_type::u8:
        return "u8";
    case Field_type::i8:
        return "i8";
    case Field_type::u16:
        return "u16";
    case Field_type::flag:
        return "flag";
    case Field_type::one_more:
        return "u8 + 1";
    case Field_type::bits:
        return "bits";
    case Field_type::two_bits:
        return "two bits";
    case Field_type::version:
        return "version";
    case Field_type::bytes:
        return "bytes";
    }
    return "";
}

const char* role_name(Field_role role)
{
    switch (role) {
    case Field_role::value:
        return "";
    case Field_role::unread:
        return ", not read";
    case Field_role::fixed:
        return ", fixed";
    }
    return "";
}

QString codes_text(const Field& field)
{
    QString text;
    for (const Code& code : field.codes)
        text += QStringLiteral(" %1-%2=%3")
                    .arg(code.first)
                    .arg(code.last)
                    .arg(QLatin1String(code.name));
    return text;
}

QString field_text(const Field& field)
{
    QString text = QStringLiteral("[%1+%2]").arg(field.first).arg(field.size);
    if (field.second != 0)
        text += QStringLiteral(" [%1]").arg(field.second);
    text += QStringLiteral(" %1 (%2) %3 %4..%5")
                .arg(QLatin1String(field.name), QLatin1String(field.label),
                     QLatin1String(type_name(field.type)))
                .arg(field.least)
                .arg(field.most);
    if (field.unit.name[0] != '\0')
        text += QStringLiteral(" %1 x %2 %3")
                    .arg(QLatin1String(field.unit.on_the_line))
                    .arg(field.unit.scale)
                    .arg(QLatin1String(field.unit.name));
    return text + codes_text(field) + QLatin1String(role_name(field.role));
}

QString message_text(const Message_kind& kind)
{
    const bool from_host = kind.direction == Direction::to_controller;
    QString text = QStringLiteral("%1 %2 %3 (%4)")
                       .arg(uint{kind.id}, 2, 16, QLatin1Char('0'))
                       .arg(from_host ? QStringLiteral("->") : QStringLiteral("<-"),
                            QLatin1String(kind.name), QLatin1String(kind.label));
    return text;
}

/// The catalogue as text: a line for each message, and behind it one for each of its fields.
QStringList catalogue_text()
{
    QStringList lines;
    for (const Message_kind& kind : message_catalogue) {
        lines.append(message_text(kind));
        for (const Field& field : kind.fields())
            lines.append(QStringLiteral("  ") + field_text(field));
    }
    return lines;
}

const char* const written_by_hand = R"(01 -> start_up (start-up)
02 <- start_up_answer (start-up answer)
05 -> power_setting (power and line-15 setting)
  [1+1] setting (setting) u8 0..255 2-2=line 15 255-255=start-up
  [2+1] mode (mode) u8 0..255
  [3+1] with (with) u8 0..255
06 <- power_response (power response)
  [1+1] line_15_mode (line-15 mode) u8 0..255
  [4+1] ignition (ignition) flag 0..1 0-0=off 1-1=on
0b -> power_switch (power device switching)
  [1+1] switch (switch) flag 0..1 0-0=off 1-1=on
  [2+1] device (device) u8 0..255 254-254=display backlight
0c <- power_switch_answer (power device answer)
  [1+1] switch (switch) flag 0..1 0-0=off 1-1=on, not read
  [2+1] device (device) u8 0..255 254-254=display backlight, not read
0d -> operating_voltage (operating voltage)
  [1+1] code (code) u8 0..255
0e <- operating_voltage_report (operating voltage report)
  [1+1] code (code) u8 0..255, not read
10 <- digital_inputs (digital input report)
  [1+1] inputs (inputs) bits 0..15
11 -> hardware_version_request (hardware version request)
12 <- hardware_version (hardware version)
  [1+1] revision (revision) u8 0..255 0-10=v1.0 11-19=v1.1 20-255=v2.0
15 -> firmware_version_request (firmware version request)
16 <- firmware_version (firmware version)
  [2+3] firmware (firmware) version 0..16777215
19 -> unique_id_request (unique device identifier request)
1a <- unique_id (unique device identifier)
  [1+7] identifier (identifier) bytes 0..72057594037927935
1b -> power_button_poll (power button poll)
1c <- power_button (power button)
  [1+1] pressed (pressed) flag 0..1 0-0=off 1-1=on
1e <- analog_input (analog input)
  [1+2] analog (analog) u16 0..65535 mV x 0.001 V
20 <- ambient_light (ambient light)
  [1+2] light (light) u16 0..65535 mV x 0.001 V
21 -> voltages_low_poll (voltage 0-2 poll)
22 <- voltages_low (voltages 0-2)
  [1+2] voltage0 (voltage0) u16 0..65535 mV x 0.001 V
  [3+2] voltage1 (voltage1) u16 0..65535 mV x 0.001 V
  [5+2] voltage2 (voltage2) u16 0..65535 mV x 0.001 V
23 -> voltages_high_poll (voltage 3-5 poll)
24 <- voltages_high (voltages 3-5)
  [1+2] voltage3 (voltage3) u16 0..65535 mV x 0.001 V
  [3+2] voltage4 (voltage4) u16 0..65535 mV x 0.001 V
  [5+2] voltage5 (voltage5) u16 0..65535 mV x 0.001 V
27 -> temperatures_poll (temperature poll)
28 <- temperatures (temperatures 0-5)
  [1+1] temperature0 (temperature0) i8 -128..127  x 1 degrees Celsius
  [2+1] temperature1 (temperature1) i8 -128..127  x 1 degrees Celsius
  [3+1] temperature2 (temperature2) i8 -128..127  x 1 degrees Celsius
  [4+1] temperature3 (temperature3) i8 -128..127  x 1 degrees Celsius
  [5+1] temperature4 (temperature4) i8 -128..127  x 1 degrees Celsius
  [6+1] temperature5 (temperature5) i8 -128..127  x 1 degrees Celsius
29 -> frequency_output (frequency output)
  [1+1] constant (constant) u8 1..1, fixed
  [2+2] value (value) u16 0..65535
2a <- frequency_output_report (frequency output report)
  [1+1] constant (constant) u8 1..1, fixed
  [2+2] value (value) u16 0..65535, not read
2d -> configuration (configuration write or read)
  [1+1] oem_code (OEM code) u8 + 1 0..255
  [2+1] offset (offset) u8 0..255 4-4=power-up delay
  [3+1] value (value) u8 0..255
  [4+1] access (access) u8 0..-1 85-85=read 170-170=write
  [5+1] constant (constant) u8 1..1, fixed
2e <- configuration_report (configuration report)
  [1+1] oem_code (OEM code) u8 + 1 0..255
  [2+1] offset (offset) u8 0..255 4-4=power-up delay
  [3+1] value (value) u8 0..255
31 -> backlight (display backlight)
  [1+1] level (level) u8 0..254  x 0.393701 % 255-255=query
  [2+1] second_level (second level) u8 0..254  x 0.393701 % 255-255=query
32 <- backlight_report (display backlight report)
  [1+1] level (level) u8 0..254  x 0.393701 %
  [2+1] second_level (second level) u8 0..254  x 0.393701 %, not read
33 -> digital_outputs (digital outputs)
  [2+1] [1] outputs (outputs) two bits 0..255 0-0=- 1-1=off 2-2=on 3-3=disabled
34 <- digital_outputs_report (digital output report)
  [2+1] outputs (outputs) two bits 0..255 0-0=- 1-1=off 2-2=on 3-3=disabled
35 -> digest_request (digest request)
  [1+1] interval (interval) u8 0..255 50 ms x 50 ms
36 <- digest (digest)
  [1+1] inputs (inputs) bits 0..15
  [2+2] analog (analog) u16 0..65535 mV x 0.001 V
  [4+2] light (light) u16 0..65535 mV x 0.001 V
  [6+2] frequency (frequency) u16 0..65535
3d -> oem_code (OEM code)
  [1+1] code (code) u8 0..255
3e <- oem_code_report (OEM code report)
  [1+1] code (code) u8 0..255
3f -> atx_acknowledge (ATX acknowledge)
40 <- atx (ATX))";

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

class Message_catalogue_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void the_catalogue_is_the_one_written_by_hand()
    {
        const QStringList expected = QString::fromLatin1(written_by_hand).split(QLatin1Char('\n'));
        const QStringList actual = catalogue_text();
        for (int i = 0; i < std::min(expected.size(), actual.size()); ++i)
            QCOMPARE(actual[i], expected[i]);
        QCOMPARE(actual.size(), expected.size());
    }

    void identifiers_ascend_and_tell_the_direction()
    {
        uint last = 0;
        for (const Message_kind& kind : message_catalogue) {
            QVERIFY2(kind.id > last, kind.name);
            last = kind.id;
            QVERIFY2((kind.id % 2 == 1) == is_request(kind.id), kind.name);
            QCOMPARE(find_message(kind.id), &kind);
            QCOMPARE(find_message(kind.name), &kind);
        }
        QVERIFY(find_message(uchar{0x41}) == nullptr);
        QVERIFY(find_message("no such message") == nullptr);
    }

    void every_request_has_its_answer()
    {
        for (const Message_kind& kind : message_catalogue) {
            if (!is_request(kind.id))
                continue;
            const Message_kind* answer = find_message(answer_to(kind.id));
            QVERIFY2(answer != nullptr && answer->direction == Direction::from_controller,
                     kind.name);
            QVERIFY2(is_answer(kind.id, answer->id), kind.name);
        }
        QCOMPARE(response_time_ms, 300);
        QVERIFY(!is_answer(0xFF, 0x00));
        QVERIFY(!is_answer(0x12, 0x12));
        QVERIFY(is_answer(0x12, 0x13));
    }

    void every_field_lies_in_its_message_and_none_in_another()
    {
        uint last_id = 0;
        uint end = 1;
        for (const Field& field : field_catalogue) {
            const QByteArray what = QByteArray::number(field.id, 16) + ' ' + field.name;
            QVERIFY2(find_message(field.id) != nullptr, what);
            QVERIFY2(field.id >= last_id, what);
            if (field.id != last_id)
                end = 1;
            QVERIFY2(field.first >= end, what);
            QVERIFY2(field.end() <= message_size, what);
            QCOMPARE(find_field(field.id, field.name), &field);
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
                QCOMPARE(field.get(message.data()), number);
            }
        }
    }

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

    void a_blank_message_has_what_is_always_the_same()
    {
        QCOMPARE(blank_message(0x29), some(0x29, 1));
        QCOMPARE(blank_message(0x2d), some(0x2d, 0, 0, 0, 0, 1));
        QCOMPARE(blank_message(0x36), some(0x36));
        QCOMPARE(blank_message(0x7d), some(0x7d));
    }

    void scales_are_exact()
    {
        QVERIFY(analog.row().unit.scale == 0.001);
        QVERIFY(find_field(0x32, "level")->unit.scale == 0.3937007874015748);
        QVERIFY(find_field(0x35, "interval")->unit.scale == 50);
    }

    void codes_are_those_of_the_line()
    {
        QCOMPARE(int(Output_code::no_information), 0);
        QCOMPARE(int(Output_code::off), 1);
        QCOMPARE(int(Output_code::on), 2);
        QCOMPARE(int(Output_code::disabled), 3);
        QCOMPARE(int(Configuration_access::write), 0xAA);
        QCOMPARE(int(Configuration_access::read), 0x55);
        QCOMPARE(int(Power_setting::start_up), 0xFF);
        QCOMPARE(int(Power_setting::line_15), 2);
        QCOMPARE(int{remote_line_15_mode}, 2);
        QCOMPARE(int{line_15_setting_end}, 5);
        QCOMPARE(int{power_up_delay_offset}, 4);
        QCOMPARE(int{display_backlight_device}, 0xFE);
        QCOMPARE(int{full_level}, 254);
        QCOMPARE(int{query_level}, 0xFF);
        QCOMPARE(full_light_volts, 4.995);
        QVERIFY(input_bit(0x04, 2) && !input_bit(0x04, 1));
        QCOMPARE(output_code(0x1B, 0), Output_code::disabled);
        QCOMPARE(output_code(0x1B, 1), Output_code::on);
        QCOMPARE(output_code(0x1B, 2), Output_code::off);
        QCOMPARE(output_code(0x1B, 3), Output_code::no_information);
        QCOMPARE(output_bits(Output_code::on, 3), uchar{0x80});
    }
};

QTEST_APPLESS_MAIN(Message_catalogue_test)
#include "message_catalogue.moc"
