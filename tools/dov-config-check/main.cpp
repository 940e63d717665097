#include "Findings.h"
#include "Paths.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace {

QJsonObject as_json(const State_outcome& state)
{
    QJsonArray devices;
    for (const Device_outcome& device : state.devices) {
        devices.append(QJsonObject{{QStringLiteral("name"), device.device},
                                   {QStringLiteral("on"), device.on},
                                   {QStringLiteral("reason"), device.reason}});
    }
    return {{QStringLiteral("name"), state.state},
            {QStringLiteral("timeout"), state.timeout},
            {QStringLiteral("timeout_reason"), state.timeout_reason},
            {QStringLiteral("devices"), devices}};
}

QByteArray as_json(const Findings& findings)
{
    QJsonArray states;
    for (const State_outcome& state : findings.states)
        states.append(as_json(state));
    QJsonObject masks;
    for (const Mask& mask : findings.masks)
        masks.insert(mask.device, mask.mask);
    const QJsonObject all{
        {QStringLiteral("problems"), QJsonArray::fromStringList(findings.problems)},
        {QStringLiteral("states"), states},
        {QStringLiteral("masks"), masks},
        {QStringLiteral("oem_code"), findings.oem_code},
        {QStringLiteral("power_up_time"), findings.power_up_time}};
    return QJsonDocument(all).toJson();
}

QString coloured(const QString& text, int colour)
{
    static const bool terminal = isatty(STDOUT_FILENO) != 0;
    return terminal ? QStringLiteral("\033[%1m%2\033[0m").arg(colour).arg(text) : text;
}

QByteArray as_text(const Findings& findings)
{
    constexpr int red = 31;
    constexpr int green = 32;
    constexpr int yellow = 33;
    QString text;
    for (const QString& problem : findings.problems)
        text += coloured(problem, red) + QLatin1Char('\n');
    for (const State_outcome& state : findings.states) {
        text += QStringLiteral("state %1: time-out %2 (%3)\n")
                    .arg(state.state,
                         state.timeout < 0 ? QStringLiteral("none")
                                           : QStringLiteral("%1 s").arg(state.timeout),
                         state.timeout_reason);
        for (const Device_outcome& device : state.devices) {
            const QString power = device.on ? coloured(QStringLiteral("on "), green)
                                            : coloured(QStringLiteral("off"), yellow);
            text +=
                QStringLiteral("  %1 %2 (%3)\n").arg(device.device, -8).arg(power, device.reason);
        }
    }
    text += QStringLiteral("masks (1 on, 2 low-power, 4 sleep):");
    for (const Mask& mask : findings.masks)
        text += QStringLiteral(" %1=%2").arg(mask.device).arg(mask.mask);
    text += QStringLiteral("\nOEM code %1, remote-switch power-up time %2\n")
                .arg(findings.oem_code)
                .arg(findings.power_up_time);
    return text.toUtf8();
}

/// The daemon's reader prints what it does not find; here that is part of the findings.
Findings check_quietly(const QString& power_config, const QString& oem_profile)
{
    const int output = dup(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    Findings findings = check_files(power_config, oem_profile);
    (void)std::fflush(stdout);
    dup2(output, STDOUT_FILENO);
    close(nowhere);
    close(output);
    return findings;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("dov-config-check"));
    QCoreApplication::setApplicationVersion(QStringLiteral(DOV_VERSION));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Says what dov-dbus will do with its configuration files.\n"
                       "Exit status: 0 all is well, 1 there is a problem, printed first."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print JSON."));
    const QCommandLineOption power(QStringLiteral("power"),
                                   QStringLiteral("The power configuration."),
                                   QStringLiteral("file"), QLatin1String(paths().power_config));
    const QCommandLineOption oem(QStringLiteral("oem"), QStringLiteral("The OEM profile."),
                                 QStringLiteral("file"), QLatin1String(paths().oem_profile));
    parser.addOptions({json, power, oem});
    parser.process(application);

    const Findings findings = check_quietly(parser.value(power), parser.value(oem));
    const QByteArray text = parser.isSet(json) ? as_json(findings) : as_text(findings);
    const bool written = std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()),
                                     stdout) == static_cast<std::size_t>(text.size()) &&
                         std::fflush(stdout) == 0;
    return findings.problems.isEmpty() && written ? 0 : 1;
}
