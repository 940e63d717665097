#include "Power_config.h"

#include "Console.h"

namespace {

bool is_state(int state)
{
    return state >= 0 && state < power_state_count;
}

/// The entry of a state: <device name="system">on</device>, for example.
Config_value read_state_entry(const QDomDocument* document, int state, const Config_row& row,
                              const QString& name)
{
    if (document == nullptr)
        return read_entry(row, state, {}, false);
    const QString attribute = QLatin1String(name_attribute);
    const QDomElement entries =
        first_child_element(document->documentElement(), QLatin1String(state_tag), attribute,
                            QLatin1String(power_state_name(state)));
    return read_entry(row, state,
                      first_child_element(entries, QLatin1String(row.tag), attribute, name), true);
}

int print_and_take(const Config_value& value, int otherwise)
{
    Console::out() << value.message.constData();
    return value.value_or(otherwise);
}

} // namespace

int load_power_config(std::unique_ptr<QDomDocument>& document, const char* path)
{
    return load_xml_config(document, power_config_file.document, path, power_config_file.root);
}

Config_value read_state_timeout(const QDomDocument* document, int state)
{
    return read_state_entry(document, state, state_timeout_row,
                            QLatin1String(state_timeout_row.name));
}

Config_value read_device_power(const QDomDocument* document, int state, const QString& power_name)
{
    return read_state_entry(document, state, device_power_row, power_name);
}

bool get_device_power(const QDomDocument* document, int state, const char* power_name,
                      bool default_on)
{
    if (!is_state(state))
        return default_on;
    return print_and_take(read_device_power(document, state, QString::fromUtf8(power_name)),
                          int{default_on}) != 0;
}

int get_state_timeout(const QDomDocument* document, int state, int default_timeout)
{
    if (!is_state(state))
        return default_timeout;
    return print_and_take(read_state_timeout(document, state), default_timeout);
}
