#include "Formats.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <cmath>

namespace {

constexpr int digits = 9;

QString number_text(double value)
{
    return QString::number(value, 'g', digits);
}

bool is_fraction(const QVariant& value)
{
    return value.userType() == QMetaType::Double;
}

/// On one line, whatever it holds.
QString escaped(const QString& text)
{
    QString line;
    for (const QChar character : text) {
        if (character == QLatin1Char('\n'))
            line += QStringLiteral("\\n");
        else if (character == QLatin1Char('\t'))
            line += QStringLiteral("\\t");
        else if (character.category() == QChar::Other_Control)
            line += QStringLiteral("\\x%1").arg(character.unicode(), 2, 16, QLatin1Char('0'));
        else
            line += character;
    }
    return line;
}

QString time_text(const QDateTime& time)
{
    return time.toUTC().toString(Qt::ISODateWithMs);
}

} // namespace

QString plain_text(const QVariant& value)
{
    if (value.userType() == QMetaType::QVariantList) {
        QStringList parts;
        for (const QVariant& part : value.toList())
            parts += plain_text(part);
        return parts.join(QLatin1Char(' '));
    }
    if (is_fraction(value))
        return number_text(value.toDouble());
    if (value.userType() == QMetaType::UChar)
        return QString::number(value.toUInt());
    return escaped(value.toString());
}

QJsonValue json_value(const QVariant& value)
{
    if (value.userType() == QMetaType::QVariantList) {
        QJsonArray array;
        for (const QVariant& part : value.toList())
            array.append(json_value(part));
        return array;
    }
    if (is_fraction(value))
        return std::isfinite(value.toDouble())
                   ? QJsonValue(number_text(value.toDouble()).toDouble())
                   : QJsonValue(QJsonValue::Null);
    if (value.userType() == QMetaType::UChar)
        return value.toInt();
    return QJsonValue::fromVariant(value);
}

QString value_text(const Value_row& row, const QVariant& value, const QString& dash)
{
    if (!value.isValid() || (is_fraction(value) && value.toDouble() <= no_reading))
        return dash;
    if (value.userType() == QMetaType::Bool)
        return QString::fromUtf8(value.toBool() ? row.look.words.yes : row.look.words.no);
    QString text = is_fraction(value) ? QString::number(value.toDouble(), 'f', row.look.decimals)
                                      : plain_text(value.userType() == QMetaType::QString
                                                       ? QVariant(value.toString().trimmed())
                                                       : value);
    if (*row.look.unit != '\0')
        text += QLatin1Char(' ') + QString::fromUtf8(row.look.unit);
    return text;
}

QString age_text(qint64 age_ms)
{
    const qint64 seconds = age_ms / 1000;
    if (seconds < 10)
        return QString::number(seconds) + QLatin1Char('.') + QString::number(age_ms % 1000 / 100) +
               QLatin1Char('s');
    if (seconds < 60)
        return QString::number(seconds) + QLatin1Char('s');
    if (seconds < 3600)
        return QString::number(seconds / 60) + QLatin1Char('m');
    if (seconds < 86400)
        return QString::number(seconds / 3600) + QLatin1Char('h');
    return QString::number(seconds / 86400) + QLatin1Char('d');
}

QByteArray change_line(const Change& change, const QDateTime& time)
{
    const QStringList parts = {time_text(time), change.path, change.member,
                               plain_text(change.value)};
    return parts.join(QLatin1Char(' ')).trimmed().toUtf8() + '\n';
}

QByteArray change_json(const Change& change, const QDateTime& time)
{
    const QJsonObject object = {{QStringLiteral("time"), time_text(time)},
                                {QStringLiteral("path"), change.path},
                                {QStringLiteral("member"), change.member},
                                {QStringLiteral("value"), json_value(change.value)}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}
