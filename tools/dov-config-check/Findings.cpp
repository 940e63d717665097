#include "Findings.h"

#include "OEM_profile.h"
#include "Object_catalogue.h"
#include "Power_config.h"
#include "Power_state.h"
#include "Unused_entries.h"
#include "Xml_limits.h"

#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

#include <algorithm>

namespace {

using Document = std::unique_ptr<QDomDocument>;

State_settings settings_of(const QDomDocument* document, int state)
{
    State_settings settings{
        QLatin1String(power_state_name(state)), read_state_timeout(document, state), {}};
    for (const QByteArray& name : power_names()) {
        const QString device = QString::fromUtf8(name);
        settings.devices.append({device, read_device_power(document, state, device)});
    }
    return settings;
}

QVector<Mask> masks_of(const QVector<State_settings>& states)
{
    QVector<Mask> masks;
    for (int device = 0; device < states.first().devices.size(); ++device) {
        Mask mask{states.first().devices[device].device, 0};
        for (int state = 0; state < states.size(); ++state)
            mask.mask |= states[state].devices[device].on.value << state;
        masks.append(mask);
    }
    return masks;
}

QString root_of(const QByteArray& bytes)
{
    QXmlStreamReader reader(bytes);
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd() && reader.readNext() != QXmlStreamReader::StartElement) {
    }
    return reader.qualifiedName().toString();
}

/// Why the daemon does not take a file.
Problem load_problem(Problem_kind kind, const QString& path, const Config_file& expected)
{
    QFile file(path);
    const QFileInfo info(file);
    // Opening a pipe would wait for somebody who writes it.
    if (info.exists() && !info.isFile())
        return {kind, path, 0, QStringLiteral("it is no regular file")};
    if (!file.open(QIODevice::ReadOnly))
        return {kind, path, 0, QStringLiteral("it cannot be opened: ") + file.errorString()};
    const QByteArray bytes = as_xml_1_0(file.read(max_config_size + 1));
    const Xml_fault fault = check_xml(bytes);
    if (fault.is_malformed)
        return {kind, path, fault.line,
                QStringLiteral("it is not well-formed XML: ") + on_one_line(fault.text)};
    if (!fault.text.isEmpty())
        return {kind, path, fault.line, fault.text};
    return {kind, path, 0,
            QStringLiteral("its root element is <%1>, not <%2>")
                .arg(on_one_line(root_of(bytes)), QLatin1String(expected.root))};
}

void add_unless_recognised(QVector<Problem>& problems, const QString& file, const QString& key,
                           const Config_value& value, const QString& default_value)
{
    if (value.source != Config_source::unrecognised)
        return;
    problems.append({Problem_kind::no_effect, file, value.line,
                     QStringLiteral("%1 has unrecognised text \"%2\"; the default counts, %3")
                         .arg(key, on_one_line(value.text), default_value)});
}

void add_unless_recognised(QVector<Problem>& problems, const QString& file, const QString& key,
                           const Config_value& value)
{
    add_unless_recognised(problems, file, key, value, QString::number(value.value));
}

void add_unrecognised(QVector<Problem>& problems, const QString& file, const State_settings& state)
{
    add_unless_recognised(
        problems, file,
        config_key(QLatin1String(state_timeout_row.tag), QLatin1String(state_timeout_row.name)),
        state.timeout);
    for (const Device_setting& device : state.devices) {
        add_unless_recognised(
            problems, file, config_key(QLatin1String(device_power_row.tag), device.device),
            device.on, device.on.value != 0 ? QStringLiteral("on") : QStringLiteral("off"));
    }
}

void sort_by_line(QVector<Problem>& problems)
{
    std::stable_sort(problems.begin(), problems.end(),
                     [](const Problem& a, const Problem& b) { return a.line < b.line; });
}

QVector<Problem> problems_of_power_config(const QString& path, const QDomDocument& document,
                                          const QVector<State_settings>& states)
{
    QVector<Problem> problems = unused_power_entries(path, document.documentElement());
    for (const State_settings& state : states)
        add_unrecognised(problems, path, state);
    const auto& devices = states[state_on].devices;
    const auto system = std::find_if(devices.begin(), devices.end(), [](const Device_setting& d) {
        return d.device == QLatin1String("system");
    });
    if (system != devices.end() && system->on.value == 0) {
        problems.append({Problem_kind::power_off, path, system->on.line,
                         QStringLiteral("%1 is off in state \"%2\"")
                             .arg(config_key(QLatin1String(device_power_row.tag), system->device),
                                  states[state_on].state)});
    }
    sort_by_line(problems);
    return problems;
}

void check_power_config(Findings& findings, const QString& path)
{
    Document document;
    if (load_power_config(document, QFile::encodeName(path).constData()) != config_loaded)
        document.reset();
    for (int state = 0; state < power_state_count; ++state)
        findings.states.append(settings_of(document.get(), state));
    findings.masks = masks_of(findings.states);
    if (document == nullptr)
        findings.problems.append(load_problem(Problem_kind::power_off, path, power_config_file));
    else
        findings.problems += problems_of_power_config(path, *document, findings.states);
}

void check_oem_profile(Findings& findings, const QString& path)
{
    Document document;
    if (load_oem_profile(document, QFile::encodeName(path).constData()) != config_loaded)
        document.reset();
    for (const Config_row* row : oem_profile_rows)
        findings.profile.append({row, read_profile_entry(document.get(), *row)});
    if (document == nullptr) {
        findings.problems.append(load_problem(Problem_kind::rejected, path, oem_profile_file));
        return;
    }
    QVector<Problem> problems = unused_oem_entries(path, document->documentElement());
    for (const Profile_setting& setting : findings.profile)
        add_unless_recognised(problems, path, config_key(QLatin1String(setting.row->tag)),
                              setting.value);
    sort_by_line(problems);
    findings.problems += problems;
}

} // namespace

Findings check_files(const QString& power_config, const QString& oem_profile)
{
    Findings findings{};
    check_power_config(findings, power_config);
    check_oem_profile(findings, oem_profile);
    std::stable_sort(findings.problems.begin(), findings.problems.end(),
                     [](const Problem& a, const Problem& b) { return a.kind > b.kind; });
    return findings;
}

QString on_one_line(const QString& text)
{
    constexpr int longest = 60;
    QString line;
    for (const QChar character : text.left(longest)) {
        if (character.isPrint())
            line += character;
        else if (character == QLatin1Char('\n'))
            line += QLatin1String("\\n");
        else
            line += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
    }
    return text.size() > longest ? line + QStringLiteral("...") : line;
}
