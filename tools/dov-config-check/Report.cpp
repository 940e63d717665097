#include "Report.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

struct Problem_words {
    Problem_kind kind;
    const char* name; ///< in JSON
    const char* text;
};

constexpr Problem_words problem_words[] = {
    {Problem_kind::no_effect, "no_effect", "no effect"},
    {Problem_kind::rejected, "rejected", "the file is rejected"},
    {Problem_kind::power_off, "power_off", "the terminal powers off at start"},
};

const Problem_words& words_for(Problem_kind kind)
{
    const Problem_words* words = problem_words;
    while (words->kind != kind)
        ++words;
    return *words;
}

/// In the order of Config_source.
constexpr const char* source_names[] = {"no_file", "no_entry", "unrecognised", "entry"};

constexpr int red = 31;
constexpr int green = 32;
constexpr int yellow = 33;

QString paint(const QString& text, int colour, bool coloured)
{
    return coloured ? QStringLiteral("\033[%1m%2\033[0m").arg(colour).arg(text) : text;
}

QString text_of(const Problem& problem)
{
    const QString line = problem.line == 0 ? QString() : QStringLiteral(":%1").arg(problem.line);
    return QStringLiteral("%1%2: %3: %4")
        .arg(on_one_line(problem.file), line, QLatin1String(words_for(problem.kind).text),
             problem.text);
}

QString reason_of(const Config_value& setting, const QString& value)
{
    switch (setting.source) {
    case Config_source::no_file:
        return QStringLiteral("no file");
    case Config_source::no_entry:
        return QStringLiteral("default, no entry");
    case Config_source::unrecognised:
        return QStringLiteral("default, line %1 has unrecognised text \"%2\"")
            .arg(setting.line)
            .arg(on_one_line(setting.text));
    case Config_source::entry:
        break;
    }
    const QString line = QStringLiteral("line %1").arg(setting.line);
    return setting.text == value
               ? line
               : line + QStringLiteral(", from \"%1\"").arg(on_one_line(setting.text));
}

QString number_with_reason(const Config_value& setting)
{
    const QString number = QString::number(setting.value);
    return QStringLiteral("%1 (%2)").arg(number, reason_of(setting, number));
}

QString text_of(const State_settings& state, bool coloured)
{
    const int seconds = state.timeout.value;
    const QString timeout =
        seconds < 0 ? QStringLiteral("none") : QStringLiteral("%1 s").arg(seconds);
    QString text =
        QStringLiteral("state %1: time-out %2 (%3)\n")
            .arg(state.state, timeout, reason_of(state.timeout, QString::number(seconds)));
    for (const Device_setting& device : state.devices) {
        const bool on = device.on.value != 0;
        const QString word = on ? QStringLiteral("on") : QStringLiteral("off");
        text += QStringLiteral("  %1 %2 (%3)\n")
                    .arg(device.device, -8)
                    .arg(paint(word.leftJustified(3), on ? green : yellow, coloured),
                         reason_of(device.on, word));
    }
    return text;
}

QJsonObject object_of(const Config_value& setting, const QJsonValue& value)
{
    QJsonObject object{
        {QStringLiteral("value"), value},
        {QStringLiteral("source"), QLatin1String(source_names[static_cast<int>(setting.source)])}};
    if (setting.line != 0) {
        object.insert(QStringLiteral("line"), setting.line);
        object.insert(QStringLiteral("text"), setting.text);
    }
    return object;
}

QJsonObject object_of(const State_settings& state)
{
    QJsonObject devices;
    for (const Device_setting& device : state.devices)
        devices.insert(device.device, object_of(device.on, device.on.value != 0));
    return {{QStringLiteral("name"), state.state},
            {QStringLiteral("timeout"), object_of(state.timeout, state.timeout.value)},
            {QStringLiteral("devices"), devices}};
}

QJsonObject object_of(const Problem& problem)
{
    return {{QStringLiteral("kind"), QLatin1String(words_for(problem.kind).name)},
            {QStringLiteral("file"), problem.file},
            {QStringLiteral("line"), problem.line},
            {QStringLiteral("text"), problem.text}};
}

template <class List>
QJsonArray array_of(const List& list)
{
    QJsonArray array;
    for (const auto& item : list)
        array.append(object_of(item));
    return array;
}

} // namespace

QByteArray as_text(const Findings& findings, bool coloured)
{
    QString text;
    for (const Problem& problem : findings.problems)
        text += paint(text_of(problem), red, coloured) + QLatin1Char('\n');
    for (const State_settings& state : findings.states)
        text += text_of(state, coloured);
    text += QStringLiteral("masks (1 on, 2 low-power, 4 sleep):");
    for (const Mask& mask : findings.masks)
        text += QStringLiteral(" %1=%2").arg(mask.device).arg(mask.mask);
    text += QLatin1Char('\n');
    for (const Profile_setting& setting : findings.profile)
        text += QStringLiteral("%1 %2\n").arg(QLatin1String(setting.row->label),
                                              number_with_reason(setting.value));
    return text.toUtf8();
}

QByteArray as_json(const Findings& findings)
{
    QJsonObject masks;
    for (const Mask& mask : findings.masks)
        masks.insert(mask.device, mask.mask);
    QJsonObject all{{QStringLiteral("problems"), array_of(findings.problems)},
                    {QStringLiteral("states"), array_of(findings.states)},
                    {QStringLiteral("masks"), masks}};
    for (const Profile_setting& setting : findings.profile)
        all.insert(QLatin1String(setting.row->key), object_of(setting.value, setting.value.value));
    return QJsonDocument(all).toJson();
}
