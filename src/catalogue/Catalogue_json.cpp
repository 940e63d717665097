#include "Catalogue_json.h"

#include "Object_catalogue.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>

namespace {

QJsonValue name_or_null(const char* name)
{
    return name == nullptr ? QJsonValue() : QJsonValue(QString::fromUtf8(name));
}

const char* name_of(Reading reading)
{
    switch (reading) {
    case Reading::never:
        return "never";
    case Reading::once:
        return "once";
    case Reading::when_quiet:
        return "when_quiet";
    case Reading::always:
        return "always";
    }
    return "";
}

QJsonValue json(const Start_value& start)
{
    switch (start.type) {
    case Start_value::Type::terminals_own:
        break;
    case Start_value::Type::truth:
        return start.number != 0.0;
    case Start_value::Type::number:
        return start.number;
    case Start_value::Type::text:
        return QString::fromUtf8(start.text);
    }
    return {};
}

QJsonObject json(const Value_row& row)
{
    QJsonObject value = {
        {QStringLiteral("getter"), name_or_null(row.getter)},
        {QStringLiteral("signal"), name_or_null(row.signal)},
        {QStringLiteral("type"), QString::fromUtf8(row.type)},
        {QStringLiteral("read"), QString::fromUtf8(name_of(row.reading))},
        {QStringLiteral("unit"), QString::fromUtf8(row.look.unit)},
        {QStringLiteral("decimals"), row.look.decimals},
        {QStringLiteral("start"), json(row.start)},
        {QStringLiteral("start_is_no_value"), row.start_is_no_value},
    };
    if (QLatin1String(row.type) == QLatin1String("b")) {
        value.insert(QStringLiteral("yes"), QString::fromUtf8(row.look.words.yes));
        value.insert(QStringLiteral("no"), QString::fromUtf8(row.look.words.no));
        value.insert(QStringLiteral("good"), row.look.words.good);
    }
    return value;
}

QJsonObject json(const Signal_row& row)
{
    return {{QStringLiteral("name"), QString::fromUtf8(row.name)},
            {QStringLiteral("sent"), row.is_sent}};
}

QJsonObject json(const Setting_row& row)
{
    return {{QStringLiteral("name"), QString::fromUtf8(row.name)},
            {QStringLiteral("type"), QString::fromUtf8(row.type)},
            {QStringLiteral("start"), json(row.start)}};
}

template <class Rows>
QJsonArray json_array(const Rows& rows)
{
    QJsonArray array;
    for (const auto& row : rows)
        array.append(json(row));
    return array;
}

QJsonObject json(const Object_kind& kind)
{
    return {{QStringLiteral("name"), QString::fromUtf8(kind.name)},
            {QStringLiteral("interface"),
             QLatin1String(interface_prefix) + QString::fromUtf8(kind.interface)},
            {QStringLiteral("values"), json_array(kind.values)},
            {QStringLiteral("signals"), json_array(kind.signals)},
            {QStringLiteral("settings"), json_array(kind.settings)},
            {QStringLiteral("in_digest"), kind.is_in_digest},
            {QStringLiteral("spark_span"), kind.spark_span}};
}

QJsonObject json(const Catalogue_object& object)
{
    const auto section = static_cast<std::size_t>(object.section);
    return {{QStringLiteral("path"), object.path},
            {QStringLiteral("kind"), QString::fromUtf8(object.kind->name)},
            {QStringLiteral("section"), QString::fromUtf8(section_titles[section])},
            {QStringLiteral("title"), object.title}};
}

QByteArray text(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

/// An array with an object a line, so that a change of one is a change of one line.
QByteArray lines(const char* name, const QList<QByteArray>& objects)
{
    return QByteArray("\"") + name + "\": [\n" + objects.join(",\n") + "\n]";
}

} // namespace

QByteArray catalogue_json()
{
    QList<QByteArray> kinds;
    QList<QByteArray> objects;
    for (const Object_row& row : object_rows) {
        const QByteArray kind = text(json(*row.kind));
        if (!kinds.contains(kind))
            kinds.append(kind);
    }
    for (const Catalogue_object& object : catalogue_as_shown())
        objects.append(text(json(object)));
    return QByteArray("{\n\"service\": \"") + service_name + "\",\n\"path_prefix\": \"" +
           path_prefix + "\",\n" + lines("kinds", kinds) + ",\n" + lines("objects", objects) +
           "\n}\n";
}
