#include "Findings.h"

#include "OEM_profile.h"
#include "Power_config.h"
#include "Power_state.h"

#include <QFile>
#include <QSet>

#include <algorithm>
#include <cstdio>

namespace {

using Document = std::unique_ptr<QDomDocument>;

/// The names that the daemon's power switches look up.
const char* const power_names[] = {"system", "display", "can_1",  "can_2",  "can_3", "can_4",
                                   "eth",    "video",   "camera", "uart_1", "usb_1"};

QString name_of(const QDomElement& element)
{
    return element.attribute(QStringLiteral("name"));
}

QString state_name(int state)
{
    return QLatin1String(power_state_name(state));
}

bool is_power_name(const QString& name)
{
    return std::any_of(std::begin(power_names), std::end(power_names),
                       [&name](const char* known) { return name == QLatin1String(known); });
}

bool is_state_name(const QString& name)
{
    for (int state = 0; state < power_state_count; ++state) {
        if (name == state_name(state))
            return true;
    }
    return false;
}

QDomElement entry(const QDomDocument* document, int state, const QString& tag, const QString& name)
{
    const QString attribute = QStringLiteral("name");
    return find_config_element(
        document, {QStringLiteral("state"), attribute, state_name(state), tag, attribute, name});
}

/// Why the entry of a state has the effect it has.
QString reason_of(const QDomElement& element, bool recognised)
{
    if (element.isNull())
        return QStringLiteral("default, no entry");
    if (recognised)
        return QStringLiteral("line %1").arg(element.lineNumber());
    return QStringLiteral("default, line %1 has unrecognised text \"%2\"")
        .arg(element.lineNumber())
        .arg(element.text());
}

QString load_problem(int result, const QString& path)
{
    switch (result) {
    case config_not_opened:
        return QStringLiteral("%1: cannot be opened").arg(path);
    case config_malformed:
        return QStringLiteral("%1: not well-formed XML, or too large or too deep").arg(path);
    case config_wrong_root:
        return QStringLiteral("%1: the root element has the wrong name").arg(path);
    default:
        return {};
    }
}

/// The entries below an element that the daemon never consults, or does not understand.
class Useless_entries {
public:
    explicit Useless_entries(const QString& path) : path_(path) {}

    QStringList of_power_config(const QDomElement& root)
    {
        QSet<QString> seen;
        for (QDomElement state = root.firstChildElement(); !state.isNull();
             state = state.nextSiblingElement()) {
            if (state.tagName() != QLatin1String("state") || !is_state_name(name_of(state)))
                add(state, QStringLiteral("is no power state of the daemon's"));
            else if (seen.contains(name_of(state)))
                add(state, QStringLiteral("comes after another of the same name"));
            else
                check_state(state);
            seen.insert(name_of(state));
        }
        return found_;
    }

    QStringList of_oem_profile(const QDomElement& root)
    {
        QSet<QString> seen;
        for (QDomElement child = root.firstChildElement(); !child.isNull();
             child = child.nextSiblingElement()) {
            const QString tag = child.tagName();
            if (tag != QLatin1String("code") && tag != QLatin1String("RemoteSwitchPowerUpTime"))
                add(child, QStringLiteral("is not looked up"));
            else if (seen.contains(tag))
                add(child, QStringLiteral("comes after another of the same name"));
            else if (!is_number(child.text()))
                add(child, QStringLiteral("has unrecognised text"));
            seen.insert(tag);
        }
        return found_;
    }

private:
    void add(const QDomElement& element, const QString& what)
    {
        QString shown = element.tagName();
        if (element.hasAttribute(QStringLiteral("name")))
            shown += QStringLiteral(" \"%1\"").arg(name_of(element));
        found_.append(QStringLiteral("%1:%2: %3 %4, so it has no effect")
                          .arg(path_)
                          .arg(element.lineNumber())
                          .arg(shown, what));
    }

    static bool is_number(const QString& text)
    {
        unsigned int number = 0;
        return std::sscanf(text.toUtf8().constData(), "%u", &number) == 1;
    }

    void check_state(const QDomElement& state)
    {
        QSet<QString> seen;
        for (QDomElement child = state.firstChildElement(); !child.isNull();
             child = child.nextSiblingElement()) {
            const QString key = child.tagName() + QLatin1Char(' ') + name_of(child);
            const bool device = child.tagName() == QLatin1String("device");
            const bool timeout = key == QLatin1String("param timeout");
            if (!timeout && !(device && is_power_name(name_of(child))))
                add(child, QStringLiteral("is not looked up"));
            else if (seen.contains(key))
                add(child, QStringLiteral("comes after another of the same name"));
            else if (!is_understood(child, timeout))
                add(child, QStringLiteral("has unrecognised text \"%1\"").arg(child.text()));
            seen.insert(key);
        }
    }

    static bool is_understood(const QDomElement& entry, bool timeout)
    {
        if (timeout) {
            int number = 0;
            return std::sscanf(entry.text().toUtf8().constData(), "%d", &number) == 1;
        }
        return entry.text() == QLatin1String("on") || entry.text() == QLatin1String("off");
    }

    QString path_;
    QStringList found_;
};

State_outcome outcome_of(const QDomDocument* document, int state)
{
    State_outcome outcome{state_name(state), 0, {}, {}};
    const QDomElement param =
        entry(document, state, QStringLiteral("param"), QStringLiteral("timeout"));
    // With two defaults the reader tells whether it has used one.
    outcome.timeout = get_state_timeout(document, state, default_state_timeouts[state]);
    const bool read = outcome.timeout == get_state_timeout(document, state, outcome.timeout - 1);
    outcome.timeout_reason = reason_of(param, read);
    for (const char* name : power_names) {
        const QDomElement device =
            entry(document, state, QStringLiteral("device"), QLatin1String(name));
        const bool on = document != nullptr && get_device_power(document, state, name, true);
        const bool known = on == get_device_power(document, state, name, false);
        outcome.devices.append(
            {QLatin1String(name), on,
             document == nullptr ? QStringLiteral("no configuration") : reason_of(device, known)});
    }
    return outcome;
}

void add_masks(Findings& findings)
{
    for (int device = 0; device < findings.states.first().devices.size(); ++device) {
        Mask mask{findings.states.first().devices[device].device, 0};
        for (int state = 0; state < power_state_count; ++state)
            mask.mask |= (findings.states[state].devices[device].on ? 1 : 0) << state;
        findings.masks.append(mask);
    }
}

void check_power_config(Findings& findings, const QString& path)
{
    Document document;
    const int result = load_power_config(document, QFile::encodeName(path).constData());
    if (result != config_loaded) {
        findings.problems.append(QStringLiteral("the terminal powers off at start: ") +
                                 load_problem(result, path));
        document.reset();
    }
    for (int state = 0; state < power_state_count; ++state)
        findings.states.append(outcome_of(document.get(), state));
    add_masks(findings);
    if (document == nullptr)
        return;
    const Device_outcome& system = findings.states.first().devices.first();
    if (!system.on) {
        findings.problems.append(
            QStringLiteral("the terminal powers off at start: %1: system is off in state on, %2")
                .arg(path, system.reason));
    }
    findings.problems += Useless_entries(path).of_power_config(document->documentElement());
}

void check_oem_profile(Findings& findings, const QString& path)
{
    Document document;
    const int result = load_oem_profile(document, QFile::encodeName(path).constData());
    if (result != config_loaded) {
        findings.problems.append(load_problem(result, path));
        findings.oem_code = unknown_oem_code;
        findings.power_up_time = unknown_oem_code;
        return;
    }
    findings.oem_code = get_oem_code(document.get(), unknown_oem_code);
    findings.power_up_time = get_remote_switch_power_up_time(document.get(), default_power_up_time);
    findings.problems += Useless_entries(path).of_oem_profile(document->documentElement());
}

} // namespace

Findings check_files(const QString& power_config, const QString& oem_profile)
{
    Findings findings{};
    check_power_config(findings, power_config);
    check_oem_profile(findings, oem_profile);
    return findings;
}
