#include "Power_config.h"

#include "Console.h"
#include "Power_state.h"

#include <cstdio>

namespace {

bool is_state(int state)
{
    return state >= 0 && state < power_state_count;
}

/// The text of the entry of a state: "on" of <device name="system">on</device>, for example.
QByteArray entry_text(const QDomDocument* document, int state, const char* tag, const char* name)
{
    const QStringList path = {
        QStringLiteral("state"), QStringLiteral("name"), QLatin1String(power_state_name(state)),
        QLatin1String(tag),      QStringLiteral("name"), QString::fromUtf8(name),
    };
    return find_config_element(document, path).text().toUtf8();
}

void report_not_found(const QByteArray& text)
{
    Console::out().format("NOT FOUND Text: %s\n", text.constData());
}

} // namespace

int load_power_config(std::unique_ptr<QDomDocument>& document, const char* path)
{
    return load_xml_config(document, "PowerCntlML", path, "power");
}

bool get_device_power(const QDomDocument* document, int state, const char* power_name,
                      bool default_on)
{
    if (!is_state(state))
        return default_on;
    const QByteArray text = entry_text(document, state, "device", power_name);
    if (text == "on" || text == "off")
        return text == "on";
    report_not_found(text);
    return default_on;
}

int get_state_timeout(const QDomDocument* document, int state, int default_timeout)
{
    if (!is_state(state))
        return default_timeout;
    const QByteArray text = entry_text(document, state, "param", "timeout");
    int timeout = 0;
    if (std::sscanf(text.constData(), "%d", &timeout) == 1)
        return timeout;
    report_not_found(text);
    return default_timeout;
}
