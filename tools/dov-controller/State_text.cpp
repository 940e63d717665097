#include "State_text.h"

#include <QStringList>

#include <algorithm>

namespace {

QString number(int value)
{
    return QString::number(value);
}

QString on_or_off(bool on)
{
    return on ? QStringLiteral("on") : QStringLiteral("off");
}

QStringList configuration_commands(const Controller_state& state)
{
    auto keys = state.configuration.keys();
    std::sort(keys.begin(), keys.end());
    QStringList lines;
    for (const auto& key : keys)
        lines.append(QStringLiteral("configuration %1 %2 %3")
                         .arg(key.first)
                         .arg(key.second)
                         .arg(state.configuration.value(key)));
    return lines;
}

} // namespace

QString state_as_commands(const Controller_state& state)
{
    const auto& firmware = state.firmware;
    const QByteArray unique_id(reinterpret_cast<const char*>(state.unique_id.data()),
                               static_cast<int>(state.unique_id.size()));
    QStringList lines = {
        QStringLiteral("hardware ") + number(state.hardware),
        QStringLiteral("firmware %1.%2.%3").arg(firmware[0]).arg(firmware[1]).arg(firmware[2]),
        QStringLiteral("unique-id ") + QString::fromLatin1(unique_id.toHex()),
        QStringLiteral("ignition ") + on_or_off(state.ignition),
        QStringLiteral("line15 ") + number(state.line_15_mode),
        QStringLiteral("button ") +
            (state.button_down ? QStringLiteral("down") : QStringLiteral("up")),
    };
    for (std::size_t i = 0; i < state.outputs.size(); ++i) {
        const Output_state& output = state.outputs[i];
        lines.append(QStringLiteral("output %1 %2").arg(i).arg(on_or_off(output.on)));
        if (!output.enabled)
            lines.append(QStringLiteral("output %1 disabled").arg(i));
    }
    lines += {
        QStringLiteral("backlight %1 %2")
            .arg(state.backlight_levels[0])
            .arg(state.backlight_levels[1]),
        QStringLiteral("backlight-power ") + on_or_off(state.backlight_on),
        QStringLiteral("operating-voltage ") + number(state.operating_voltage),
        QStringLiteral("frequency-output ") + number(state.frequency_output),
        QStringLiteral("oem ") + number(state.oem_code),
    };
    lines += configuration_commands(state);
    lines.append(QStringLiteral("digest ") +
                 (state.digest_interval_ms == 0
                      ? QStringLiteral("off")
                      : QStringLiteral("%1ms").arg(state.digest_interval_ms)));
    return lines.join(QLatin1Char('\n'));
}
