#include "Explanation.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace {

QString hexadecimal(qint64 number)
{
    return QStringLiteral("0x%1").arg(number, 2, 16, QLatin1Char('0'));
}

QString code_text(const Field& field, qint64 number)
{
    const char* const name = field.code_name(number);
    return name != nullptr ? QString::fromLatin1(name) : hexadecimal(number);
}

QString bits_text(const Field& field, qint64 number)
{
    QString text;
    for (uint i = 0; i < field.count; ++i)
        text.append(QLatin1Char(input_bit(static_cast<uchar>(number), i) ? '1' : '0'));
    return text;
}

QString outputs_text(const Field& field, qint64 number)
{
    QStringList texts;
    for (uint i = 0; i < field.count; ++i) {
        const Output_code code = output_code(static_cast<uchar>(number), i);
        texts.append(code_text(field, static_cast<qint64>(code)));
    }
    return texts.join(QLatin1Char(' '));
}

QString version_text(qint64 number)
{
    return QStringLiteral("v%1.%2.%3")
        .arg(number >> 16 & 0xFF)
        .arg(number >> 8 & 0xFF)
        .arg(number & 0xFF);
}

QString bytes_text(const Field& field, qint64 number)
{
    return QStringLiteral("%1").arg(number, 2 * field.size, 16, QLatin1Char('0')).toUpper();
}

QString single_text(const Field& field, qint64 number)
{
    switch (field.style) {
    case Field_style::named:
        return code_text(field, number);
    case Field_style::hexadecimal:
        return hexadecimal(number);
    case Field_style::decimal:
        break;
    }
    return QString::number(number);
}

/// One that begins with a number itself cannot stand behind one.
bool stands_behind_numbers(const QString& unit)
{
    return !unit.isEmpty() && !unit[0].isDigit();
}

QString unit_behind(const Field& field)
{
    const QString unit = QString::fromLatin1(field.unit.on_the_line);
    return stands_behind_numbers(unit) ? QLatin1Char(' ') + unit : QString();
}

std::optional<qint64> bits_number(const Field& field, const QString& text)
{
    qint64 number = 0;
    for (int i = 0; i < text.size(); ++i) {
        if (text[i] != QLatin1Char('0') && text[i] != QLatin1Char('1'))
            return std::nullopt;
        number |= qint64{text[i] == QLatin1Char('1')} << i;
    }
    return text.size() == field.count ? std::optional<qint64>(number) : std::nullopt;
}

std::optional<qint64> code_number(const Field& field, const QString& name)
{
    const auto code = std::find_if(field.codes.begin(), field.codes.end(), [&name](const Code& c) {
        return name == QLatin1String(c.name);
    });
    return code == field.codes.end() ? std::nullopt : std::optional<qint64>(code->first);
}

std::optional<qint64> outputs_number(const Field& field, const QString& text)
{
    const QStringList names = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (names.size() != field.count)
        return std::nullopt;
    qint64 number = 0;
    for (int i = 0; i < names.size(); ++i) {
        const auto code = code_number(field, names[i]);
        if (!code)
            return std::nullopt;
        number |= *code << 2 * i;
    }
    return number;
}

std::optional<qint64> version_number(const QString& text)
{
    const int begin = text.startsWith(QLatin1Char('v')) ? 1 : 0;
    const QStringList parts = text.mid(begin).split(QLatin1Char('.'));
    qint64 number = 0;
    bool good = parts.size() == 3;
    for (const QString& part : parts) {
        bool is_number = false;
        const uint value = part.toUInt(&is_number);
        good = good && is_number && value <= 255;
        number = number << 8 | value;
    }
    return good ? std::optional<qint64>(number) : std::nullopt;
}

std::optional<qint64> bytes_number(const Field& field, const QString& text)
{
    bool good = false;
    const qint64 number = text.toLongLong(&good, 16);
    return good && text.size() == 2 * field.size ? std::optional<qint64>(number) : std::nullopt;
}

std::optional<qint64> plain_number(const QString& text)
{
    const bool hexadecimal = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    bool good = false;
    const qint64 number = text.toLongLong(&good, hexadecimal ? 16 : 10);
    return good ? std::optional<qint64>(number) : std::nullopt;
}

/// What only fields of this type can be written as.
std::optional<qint64> number_by_type(const Field& field, const QString& text)
{
    switch (field.type) {
    case Field_type::bits:
        return bits_number(field, text);
    case Field_type::two_bits:
        return outputs_number(field, text);
    case Field_type::version:
        return version_number(text);
    case Field_type::bytes:
        return bytes_number(field, text);
    default:
        return code_number(field, text);
    }
}

/// What stands before a unit, or an empty text.
QString before_unit(const QString& text, const QString& unit)
{
    return !unit.isEmpty() && text.endsWith(unit) ? text.left(text.size() - unit.size())
                                                  : QString();
}

/// The number of a value in the field's unit.
std::optional<qint64> scaled_number(const Field& field, const QString& text)
{
    const QString unit = QLatin1Char(' ') + QString::fromLatin1(field.unit.name);
    bool good = false;
    const double value = before_unit(text, unit).toDouble(&good);
    constexpr double limit = 1e9;
    if (!good || !(std::fabs(value) < limit))
        return std::nullopt;
    return std::llround(value / field.unit.scale);
}

std::optional<qint64> any_number(const Field& field, const QString& text)
{
    const QString bare = before_unit(text, unit_behind(field));
    const QString digits = bare.isEmpty() ? text : bare;
    if (const auto number = number_by_type(field, digits))
        return number;
    if (const auto number = plain_number(digits))
        return number;
    return scaled_number(field, text);
}

} // namespace

const char* name_of(Field_type type)
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
        return "one_more";
    case Field_type::bits:
        return "bits";
    case Field_type::two_bits:
        return "two_bits";
    case Field_type::version:
        return "version";
    case Field_type::bytes:
        break;
    }
    return "bytes";
}

const char* name_of(Field_style style)
{
    switch (style) {
    case Field_style::decimal:
        return "decimal";
    case Field_style::hexadecimal:
        return "hexadecimal";
    case Field_style::named:
        break;
    }
    return "named";
}

QVector<Explained_field> explain(const uchar* data, uint len)
{
    QVector<Explained_field> explained;
    if (len == 0)
        return explained;
    for (const Field& field : fields_of(*data)) {
        if (!field.is_in(data, len))
            continue;
        const qint64 number = field.get(data);
        explained.append({&field, number, field.scaled(number), text_of(field, number)});
    }
    return explained;
}

QVector<Explained_field> explain(const Message& message)
{
    return explain(message.data(), message_size);
}

QString label_of(const Field& field)
{
    const QString unit = QString::fromLatin1(field.unit.on_the_line);
    const QString label = QString::fromLatin1(field.label);
    const bool is_told = unit.isEmpty() || stands_behind_numbers(unit);
    return is_told ? label : label + QStringLiteral(" in ") + unit;
}

QString text_of(const Field& field, qint64 number)
{
    switch (field.type) {
    case Field_type::bits:
        return bits_text(field, number);
    case Field_type::two_bits:
        return outputs_text(field, number);
    case Field_type::version:
        return version_text(number);
    case Field_type::bytes:
        return bytes_text(field, number);
    default:
        return single_text(field, number) + unit_behind(field);
    }
}

std::optional<qint64> number_of(const Field& field, const QString& text)
{
    const auto number = any_number(field, text);
    return number && field.may_be(*number) ? number : std::nullopt;
}

std::optional<Message> compose(const Message_kind& kind, const QVector<Named_text>& fields,
                               QString& error)
{
    Message message = blank_message(kind.id);
    for (const auto& [name, text] : fields) {
        const Field* const field = find_field(kind.id, name.toStdString());
        if (field == nullptr) {
            error = QStringLiteral("%1 has no field \"%2\"").arg(QLatin1String(kind.name), name);
            return std::nullopt;
        }
        const auto number = number_of(*field, text);
        if (!number) {
            error = QStringLiteral("\"%1\" is no value of %2").arg(text, name);
            return std::nullopt;
        }
        field->put(message, *number);
    }
    return message;
}
