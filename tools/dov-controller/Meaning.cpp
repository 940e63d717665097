#include "Meaning.h"

#include "Frame.h"
#include "Message_catalogue.h"

#include <QStringList>

#include <algorithm>

namespace {

QString number(int value)
{
    return QString::number(value);
}

QString unsigned_byte(const uchar* at)
{
    return number(*at);
}

QString signed_byte(const uchar* at)
{
    return number(static_cast<qint8>(*at));
}

QString word(const uchar* at)
{
    return number(big_endian(at));
}

QString millivolts(const uchar* at)
{
    return number(big_endian(at)) + QStringLiteral(" mV");
}

QString hexadecimal(const uchar* at)
{
    return QStringLiteral("0x%1").arg(*at, 2, 16, QLatin1Char('0'));
}

QString on_or_off(const uchar* at)
{
    return *at != 0 ? QStringLiteral("on") : QStringLiteral("off");
}

/// The four digital inputs, 0 first.
QString input_bits(const uchar* at)
{
    QString text;
    for (uint i = 0; i < 4; ++i)
        text.append(QLatin1Char((*at >> i & 1U) != 0 ? '1' : '0'));
    return text;
}

/// The four digital outputs, 0 first.
QString output_codes(const uchar* at)
{
    static const char* const words[] = {"-", "off", "on", "disabled"};
    QStringList texts;
    for (uint i = 0; i < 4; ++i)
        texts.append(QLatin1String(words[*at >> (2 * i) & 3U]));
    return texts.join(QLatin1Char(' '));
}

QString oem_on_line(const uchar* at)
{
    return number(static_cast<uchar>(*at - 1));
}

QString access(const uchar* at)
{
    switch (*at) {
    case 0xaa:
        return QStringLiteral("write");
    case 0x55:
        return QStringLiteral("read");
    default:
        return hexadecimal(at);
    }
}

QString version(const uchar* at)
{
    return QStringLiteral("v%1.%2.%3").arg(at[2]).arg(at[1]).arg(at[0]);
}

QString identifier(const uchar* at)
{
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(at), 7).toHex().toUpper());
}

/// One field of a message.
struct Field {
    uchar id;
    int at; ///< its first byte
    const char* label;
    QString (*text)(const uchar* at);
};

constexpr Field fields[] = {
    {Message_id::power_setting, 1, "setting", hexadecimal},
    {Message_id::power_setting, 2, "mode", unsigned_byte},
    {Message_id::power_setting, 3, "with", unsigned_byte},
    {Message_id::power_response, 1, "line-15 mode", unsigned_byte},
    {Message_id::power_response, 4, "ignition", on_or_off},
    {Message_id::power_switch, 1, "switch", on_or_off},
    {Message_id::power_switch, 2, "device", hexadecimal},
    {Message_id::power_switch_answer, 1, "switch", on_or_off},
    {Message_id::power_switch_answer, 2, "device", hexadecimal},
    {Message_id::operating_voltage, 1, "code", unsigned_byte},
    {Message_id::operating_voltage_report, 1, "code", unsigned_byte},
    {Message_id::digital_inputs, 1, "inputs", input_bits},
    {Message_id::hardware_version, 1, "revision", unsigned_byte},
    {Message_id::firmware_version, 2, "firmware", version},
    {Message_id::unique_id, 1, "identifier", identifier},
    {Message_id::power_button, 1, "pressed", on_or_off},
    {Message_id::analog_input, 1, "analog", millivolts},
    {Message_id::ambient_light, 1, "light", millivolts},
    {Message_id::voltages_low, 1, "voltage0", millivolts},
    {Message_id::voltages_low, 3, "voltage1", millivolts},
    {Message_id::voltages_low, 5, "voltage2", millivolts},
    {Message_id::voltages_high, 1, "voltage3", millivolts},
    {Message_id::voltages_high, 3, "voltage4", millivolts},
    {Message_id::voltages_high, 5, "voltage5", millivolts},
    {Message_id::temperatures, 1, "temperature0", signed_byte},
    {Message_id::temperatures, 2, "temperature1", signed_byte},
    {Message_id::temperatures, 3, "temperature2", signed_byte},
    {Message_id::temperatures, 4, "temperature3", signed_byte},
    {Message_id::temperatures, 5, "temperature4", signed_byte},
    {Message_id::temperatures, 6, "temperature5", signed_byte},
    {Message_id::frequency_output, 2, "value", word},
    {Message_id::frequency_output_report, 2, "value", word},
    {Message_id::configuration, 1, "OEM code", oem_on_line},
    {Message_id::configuration, 2, "offset", unsigned_byte},
    {Message_id::configuration, 3, "value", unsigned_byte},
    {Message_id::configuration, 4, "access", access},
    {Message_id::configuration_report, 1, "OEM code", oem_on_line},
    {Message_id::configuration_report, 2, "offset", unsigned_byte},
    {Message_id::configuration_report, 3, "value", unsigned_byte},
    {Message_id::backlight, 1, "level", unsigned_byte},
    {Message_id::backlight, 2, "second level", unsigned_byte},
    {Message_id::backlight_report, 1, "level", unsigned_byte},
    {Message_id::backlight_report, 2, "second level", unsigned_byte},
    {Message_id::digital_outputs, 2, "outputs", output_codes},
    {Message_id::digital_outputs_report, 2, "outputs", output_codes},
    {Message_id::digest_request, 1, "interval in 50 ms", unsigned_byte},
    {Message_id::digest, 1, "inputs", input_bits},
    {Message_id::digest, 2, "analog", millivolts},
    {Message_id::digest, 4, "light", millivolts},
    {Message_id::digest, 6, "frequency", word},
    {Message_id::oem_code, 1, "code", unsigned_byte},
    {Message_id::oem_code_report, 1, "code", unsigned_byte},
};

} // namespace

QString meaning_of(const Message& message)
{
    const auto* kind =
        std::find_if(std::begin(message_catalogue), std::end(message_catalogue),
                     [&message](const Message_kind& each) { return each.id == message[0]; });
    if (kind == std::end(message_catalogue))
        return QStringLiteral("unknown ") + hexadecimal(message.data());
    QStringList texts;
    for (const Field& field : fields) {
        if (field.id == message[0])
            texts.append(QLatin1String(field.label) + QLatin1Char(' ') +
                         field.text(&message[static_cast<std::size_t>(field.at)]));
    }
    const QString name = QString::fromLatin1(kind->name);
    return texts.isEmpty() ? name : name + QStringLiteral(": ") + texts.join(QStringLiteral(", "));
}

QString meaning_of_bytes(const QByteArray& bytes, bool from_controller)
{
    QByteArray repaired = bytes;
    bool wrong_checksum = false;
    if (bytes.size() == Frame::size && bytes.startsWith("\x18\xEF")) {
        Message content = Frame::message_of(bytes);
        repaired =
            Frame::build(content, static_cast<uchar>(bytes[2]), static_cast<uchar>(bytes[3]));
        wrong_checksum = repaired != bytes;
    }
    if (!Frame::is_whole(repaired))
        return QStringLiteral("no whole frame");
    QString text = meaning_of(Frame::message_of(repaired));
    if (wrong_checksum)
        text += QStringLiteral(" (wrong checksum)");
    const uchar source = from_controller ? Frame::controller_address : Frame::host_address;
    const uchar destination = from_controller ? Frame::host_address : Frame::controller_address;
    if (!Frame::has_addresses(repaired, source, destination))
        text += QStringLiteral(" (wrong addresses)");
    return text;
}
