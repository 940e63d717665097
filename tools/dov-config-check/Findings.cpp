#include "Findings.h"

#include "OEM_profile.h"
#include "Object_table.h"
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

/// The first child of a tag and, unless it is null, a name: the one that the daemon consults.
QDomElement first_child(const QDomElement& parent, const char* tag, const QString& name = {})
{
    QDomElement child = parent.firstChildElement(QLatin1String(tag));
    while (!child.isNull() && !name.isNull() && child.attribute(QStringLiteral("name")) != name)
        child = child.nextSiblingElement(QLatin1String(tag));
    return child;
}

/// A setting of a loaded file. `read` asks the daemon's reader, with the default given.
template <class Read>
Setting setting_of(const QDomElement& entry, int default_value, const Read& read)
{
    // The reader does not say that it has used the default; with two of them it shows.
    const bool recognised = read(0) == read(1);
    if (entry.isNull())
        return {read(default_value), Source::no_entry, 0, {}};
    return {read(default_value), recognised ? Source::entry : Source::unrecognised,
            entry.lineNumber(), entry.text()};
}

State_settings settings_of(const QDomDocument* document, int state)
{
    const bool loaded = document != nullptr;
    const QString name = QLatin1String(power_state_name(state));
    const int default_timeout = default_state_timeouts[state];
    const QDomElement root = loaded ? document->documentElement() : QDomElement();
    const QDomElement entries = first_child(root, "state", name);

    State_settings settings{name, {default_timeout, Source::no_file, 0, {}}, {}};
    if (loaded) {
        settings.timeout = setting_of(
            first_child(entries, "param", QStringLiteral("timeout")), default_timeout,
            [&](int otherwise) { return get_state_timeout(document, state, otherwise); });
    }
    for (const QByteArray& device : power_names()) {
        Setting on{0, Source::no_file, 0, {}};
        if (loaded) {
            on = setting_of(first_child(entries, "device", QString::fromUtf8(device)), 1,
                            [&](int otherwise) {
                                return int{get_device_power(document, state, device.constData(),
                                                            otherwise != 0)};
                            });
        }
        settings.devices.append({QString::fromUtf8(device), on});
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
Problem load_problem(Problem_kind kind, const QString& path, const char* root)
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
                .arg(on_one_line(root_of(bytes)), QLatin1String(root))};
}

void add_unless_recognised(QVector<Problem>& problems, const QString& file, const QString& entry,
                           const Setting& setting, const QString& default_value)
{
    if (setting.source != Source::unrecognised)
        return;
    problems.append({Problem_kind::no_effect, file, setting.line,
                     QStringLiteral("%1 has unrecognised text \"%2\"; the default counts, %3")
                         .arg(entry, on_one_line(setting.text), default_value)});
}

void add_unrecognised(QVector<Problem>& problems, const QString& file, const State_settings& state)
{
    add_unless_recognised(problems, file, QStringLiteral("<param name=\"timeout\">"), state.timeout,
                          QString::number(state.timeout.value));
    for (const Device_setting& device : state.devices) {
        add_unless_recognised(problems, file,
                              QStringLiteral("<device name=\"%1\">").arg(device.device), device.on,
                              device.on.value != 0 ? QStringLiteral("on") : QStringLiteral("off"));
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
                         QStringLiteral("<device name=\"system\"> is off in state \"%1\"")
                             .arg(states[state_on].state)});
    }
    sort_by_line(problems);
    return problems;
}

void check_power_config(Findings& findings, const QString& path)
{
    Document document;
    const int result = load_power_config(document, QFile::encodeName(path).constData());
    if (result != config_loaded)
        document.reset();
    for (int state = 0; state < power_state_count; ++state)
        findings.states.append(settings_of(document.get(), state));
    findings.masks = masks_of(findings.states);
    if (document == nullptr)
        findings.problems.append(load_problem(Problem_kind::power_off, path, "power"));
    else
        findings.problems += problems_of_power_config(path, *document, findings.states);
}

void check_oem_profile(Findings& findings, const QString& path)
{
    Document document;
    const int result = load_oem_profile(document, QFile::encodeName(path).constData());
    if (result != config_loaded) {
        findings.oem_code = findings.power_up_time = {unknown_oem_code, Source::no_file, 0, {}};
        findings.problems.append(load_problem(Problem_kind::rejected, path, "profile"));
        return;
    }
    const QDomElement root = document->documentElement();
    findings.oem_code = setting_of(first_child(root, "code"), unknown_oem_code, [&](int otherwise) {
        return int{get_oem_code(document.get(), static_cast<uchar>(otherwise))};
    });
    findings.power_up_time = setting_of(
        first_child(root, "RemoteSwitchPowerUpTime"), default_power_up_time, [&](int otherwise) {
            return int{
                get_remote_switch_power_up_time(document.get(), static_cast<uchar>(otherwise))};
        });
    QVector<Problem> problems = unused_oem_entries(path, root);
    add_unless_recognised(problems, path, QStringLiteral("<code>"), findings.oem_code,
                          QString::number(unknown_oem_code));
    add_unless_recognised(problems, path, QStringLiteral("<RemoteSwitchPowerUpTime>"),
                          findings.power_up_time, QString::number(default_power_up_time));
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
