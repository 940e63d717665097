#include "Findings.h"
#include "Paths.h"
#include "Report.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int output_failed = 1;
constexpr int usage_error = 2;

const char* const description =
    R"(Says what dov-dbus will do with its configuration files, before it does.

Exit status: 0 all is well, 1 the output could not be written, 2 wrong usage,
3 an entry has no effect, 4 a file is rejected, 5 the terminal powers off at
start. Of several the highest; the reasons are printed first.)";

/// Sends standard output nowhere while it lives.
class Silence {
public:
    Silence() : output_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
    {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (nowhere == STDOUT_FILENO)
            return;
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    ~Silence()
    {
        if (output_ < 0) {
            close(STDOUT_FILENO);
            return;
        }
        dup2(output_, STDOUT_FILENO);
        close(output_);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    int output_;
};

/// The daemon's reader prints what it does not find; here that is part of the findings.
Findings check_quietly(const QString& power_config, const QString& oem_profile)
{
    const Silence silence;
    return check_files(power_config, oem_profile);
}

bool print(const QByteArray& text, std::FILE* stream)
{
    const auto size = static_cast<std::size_t>(text.size());
    return std::fwrite(text.constData(), 1, size, stream) == size && std::fflush(stream) == 0;
}

int refuse(const QString& reason)
{
    print(QStringLiteral("dov-config-check: %1\n").arg(reason).toLocal8Bit(), stderr);
    return usage_error;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("dov-config-check"));
    QCoreApplication::setApplicationVersion(QStringLiteral(DOV_VERSION));
    QCommandLineParser parser;
    parser.setApplicationDescription(QLatin1String(description));
    // Not Qt's own, which brings an option for options that only programs with windows have.
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Prints this help."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Prints the version."));
    parser.addOptions({help, version});
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print JSON."));
    const QCommandLineOption power(QStringLiteral("power"),
                                   QStringLiteral("The power configuration."),
                                   QStringLiteral("file"), QLatin1String(paths().power_config));
    const QCommandLineOption oem(QStringLiteral("oem"), QStringLiteral("The OEM profile."),
                                 QStringLiteral("file"), QLatin1String(paths().oem_profile));
    parser.addOptions({json, power, oem});
    if (!parser.parse(QCoreApplication::arguments()))
        return refuse(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        return refuse(QStringLiteral("not an option: ") + parser.positionalArguments().first());
    if (parser.isSet(help))
        return print(parser.helpText().toLocal8Bit(), stdout) ? 0 : output_failed;
    if (parser.isSet(version))
        return print("dov-config-check " DOV_VERSION "\n", stdout) ? 0 : output_failed;

    const Findings findings = check_quietly(parser.value(power), parser.value(oem));
    const QByteArray text =
        parser.isSet(json) ? as_json(findings) : as_text(findings, isatty(STDOUT_FILENO) != 0);
    if (!print(text, stdout))
        return output_failed;
    return findings.problems.isEmpty() ? 0 : static_cast<int>(findings.problems.first().kind);
}
