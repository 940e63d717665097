// Every message, with its fields, against a table written by hand.

#include "Message_catalogue.h"

#include "Explanation.h"
#include "Field_catalogue.h"

#include <QTest>

namespace {

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
                     QLatin1String(name_of(field.type)))
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
  [1+1] oem_code (OEM code) one_more 0..255
  [2+1] offset (offset) u8 0..255 4-4=power-up delay
  [3+1] value (value) u8 0..255
  [4+1] access (access) u8 0..-1 85-85=read 170-170=write
  [5+1] constant (constant) u8 1..1, fixed
2e <- configuration_report (configuration report)
  [1+1] oem_code (OEM code) one_more 0..255
  [2+1] offset (offset) u8 0..255 4-4=power-up delay
  [3+1] value (value) u8 0..255
31 -> backlight (display backlight)
  [1+1] level (level) u8 0..254  x 0.393701 % 255-255=query
  [2+1] second_level (second level) u8 0..254  x 0.393701 % 255-255=query
32 <- backlight_report (display backlight report)
  [1+1] level (level) u8 0..254  x 0.393701 %
  [2+1] second_level (second level) u8 0..254  x 0.393701 %, not read
33 -> digital_outputs (digital outputs)
  [2+1] [1] outputs (outputs) two_bits 0..255 0-0=- 1-1=off 2-2=on 3-3=disabled
34 <- digital_outputs_report (digital output report)
  [2+1] outputs (outputs) two_bits 0..255 0-0=- 1-1=off 2-2=on 3-3=disabled
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

} // namespace

class Message_catalogue_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void the_catalogue_is_the_one_written_by_hand()
    {
        QCOMPARE(catalogue_text(), QString::fromLatin1(written_by_hand).split(QLatin1Char('\n')));
    }

    void identifiers_ascend_and_tell_the_direction()
    {
        uint last = 0;
        for (const Message_kind& kind : message_catalogue) {
            const QString what = message_text(kind);
            QVERIFY2(kind.id > last,
                     qPrintable(QStringLiteral("%1 stands behind %2").arg(what).arg(last, 2, 16)));
            last = kind.id;
            QVERIFY2((kind.id % 2 == 1) == is_request(kind.id),
                     qPrintable(QStringLiteral("%1: requests are odd, answers even").arg(what)));
            QVERIFY2(find_message(kind.id) == &kind && find_message(kind.name) == &kind,
                     qPrintable(QStringLiteral("%1 is not found").arg(what)));
        }
        QCOMPARE(find_message(uchar{0x41}), nullptr);
        QCOMPARE(find_message("no such message"), nullptr);
    }
};

QTEST_GUILESS_MAIN(Message_catalogue_test)
#include "message_catalogue.moc"
