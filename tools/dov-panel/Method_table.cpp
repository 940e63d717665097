#include "Method_table.h"

#include <QDir>
#include <QFile>
#include <QXmlStreamReader>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

QString attribute(const QXmlStreamReader& xml, const char* name)
{
    return xml.attributes().value(QLatin1String(name)).toString();
}

/// A whole number of a type of D-Bus's; none when it is not one.
template <class Number>
QVariant whole_number(const QJsonValue& value)
{
    const double number = value.toDouble(std::nan(""));
    const bool is_good = number >= std::numeric_limits<Number>::lowest() &&
                         number <= std::numeric_limits<Number>::max() &&
                         !(std::floor(number) < number);
    return is_good ? QVariant::fromValue(static_cast<Number>(number)) : QVariant();
}

QVariant value_of(const QString& type, const QJsonValue& value)
{
    switch (type.isEmpty() ? '\0' : type.at(0).toLatin1()) {
    case 'b':
        return value.isBool() ? QVariant(value.toBool()) : QVariant();
    case 'd':
        return value.isDouble() ? QVariant(value.toDouble()) : QVariant();
    case 's':
        return value.isString() ? QVariant(value.toString()) : QVariant();
    case 'y':
        return whole_number<uchar>(value);
    case 'i':
        return whole_number<int>(value);
    case 'u':
        return whole_number<uint>(value);
    default:
        return {};
    }
}

} // namespace

Method_table::Method_table()
{
    const QDir descriptions(QStringLiteral(":/interfaces"));
    for (const QString& name : descriptions.entryList(QDir::Files))
        read(descriptions.filePath(name));
}

void Method_table::read(const QString& path)
{
    QFile file(path);
    (void)file.open(QIODevice::ReadOnly);
    QXmlStreamReader xml(&file);
    std::vector<Method>* methods = nullptr;
    bool is_answered = false;
    while (!xml.atEnd()) {
        const auto token = xml.readNext();
        const QString element = xml.name().toString();
        if (token == QXmlStreamReader::StartElement && element == QLatin1String("interface")) {
            methods = &interfaces_[attribute(xml, "name")];
        } else if (token == QXmlStreamReader::StartElement && element == QLatin1String("method")) {
            methods->push_back({attribute(xml, "name"), {}, false});
            is_answered = false;
        } else if (token == QXmlStreamReader::StartElement && element == QLatin1String("arg")) {
            const QString direction = attribute(xml, "direction");
            if (direction == QLatin1String("in"))
                methods->back().arguments.append(attribute(xml, "type"));
            else if (direction == QLatin1String("out"))
                is_answered = true;
        } else if (token == QXmlStreamReader::EndElement && element == QLatin1String("method")) {
            Method& method = methods->back();
            method.changes = !method.arguments.isEmpty() || !is_answered;
        }
    }
}

const Method_table::Method* Method_table::find(const QString& interface, const QString& name) const
{
    const auto methods = interfaces_.find(interface);
    if (methods == interfaces_.end())
        return nullptr;
    const auto found = std::find_if(methods->begin(), methods->end(),
                                    [&name](const Method& each) { return each.name == name; });
    return found == methods->end() ? nullptr : &*found;
}

QJsonObject Method_table::to_json() const
{
    QJsonObject json;
    for (auto interface = interfaces_.begin(); interface != interfaces_.end(); ++interface) {
        QJsonArray methods;
        for (const Method& method : interface.value())
            methods.append(QJsonObject{
                {QStringLiteral("name"), method.name},
                {QStringLiteral("arguments"), QJsonArray::fromStringList(method.arguments)},
                {QStringLiteral("changes"), method.changes}});
        json.insert(interface.key(), methods);
    }
    return json;
}

std::optional<QVariantList> Method_table::values_of(const Method& method,
                                                    const QJsonArray& arguments, QString& error)
{
    if (arguments.size() != method.arguments.size()) {
        error =
            QStringLiteral("%1 takes %2 arguments").arg(method.name).arg(method.arguments.size());
        return std::nullopt;
    }
    QVariantList values;
    for (int i = 0; i < static_cast<int>(arguments.size()); ++i) {
        const QVariant value = value_of(method.arguments[i], arguments[i]);
        if (!value.isValid()) {
            error = QStringLiteral("argument %1 of %2 is not of the type %3")
                        .arg(i + 1)
                        .arg(method.name, method.arguments[i]);
            return std::nullopt;
        }
        values.append(value);
    }
    return values;
}
