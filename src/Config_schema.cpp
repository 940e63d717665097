#include "Config_schema.h"

#include <cstdio>

namespace {

/// The text as the type has it; false when it is none of the type's.
bool convert(Config_type type, const QByteArray& text, int& value)
{
    unsigned int number = 0;
    switch (type) {
    case Config_type::power:
        value = int{text == "on"};
        return text == "on" || text == "off";
    case Config_type::seconds:
        return std::sscanf(text.constData(), "%d", &value) == 1;
    case Config_type::byte:
        break;
    }
    const bool is_number = std::sscanf(text.constData(), "%u", &number) == 1;
    value = static_cast<uchar>(number);
    return is_number;
}

} // namespace

Config_value read_entry(const Config_row& row, int state, const QDomElement& entry, bool has_file)
{
    const auto index = static_cast<std::size_t>(state);
    const QString text = entry.text();
    const QByteArray bytes = text.toUtf8();
    int value = 0;
    if (has_file && !entry.isNull() && convert(row.type, bytes, value))
        return {value, Config_source::entry, entry.lineNumber(), text, {}};
    const QByteArray message =
        row.if_missing == nullptr ? QByteArray() : row.if_missing + bytes + '\n';
    if (!has_file)
        return {row.without_file[index], Config_source::no_file, 0, {}, message};
    if (entry.isNull())
        return {row.without_entry[index], Config_source::no_entry, 0, {}, message};
    return {row.without_entry[index], Config_source::unrecognised, entry.lineNumber(), text,
            message};
}

QString config_key(const QString& tag)
{
    return QStringLiteral("<%1>").arg(tag);
}

QString config_key(const QString& tag, const QString& name)
{
    return QStringLiteral("<%1 %2=\"%3\">").arg(tag, QLatin1String(name_attribute), name);
}

QStringList oem_profile_keys()
{
    QStringList keys;
    for (const Config_row* row : oem_profile_rows)
        keys.append(config_key(QLatin1String(row->tag)));
    return keys;
}

QStringList power_state_keys()
{
    QStringList keys;
    for (int state = 0; state < power_state_count; ++state)
        keys.append(config_key(QLatin1String(state_tag), QLatin1String(power_state_name(state))));
    return keys;
}

QStringList power_entry_keys(const QVector<QByteArray>& power_names)
{
    QStringList keys{
        config_key(QLatin1String(state_timeout_row.tag), QLatin1String(state_timeout_row.name))};
    for (const QByteArray& name : power_names)
        keys.append(config_key(QLatin1String(device_power_row.tag), QString::fromUtf8(name)));
    return keys;
}
