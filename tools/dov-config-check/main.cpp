#include "Findings.h"
#include "Locale.h"
#include "Paths.h"
#include "Report.h"
#include "Tool_command_line.h"

#include <QCoreApplication>

#include <cstdio>

#include <unistd.h>

namespace {

const QString tool = QStringLiteral("dov-config-check");

const char* const description =
    R"(Says what dov-dbus will do with its configuration files, before it does.

Exit status: 0 all is well, 1 the output could not be written, 2 wrong usage,
3 an entry has no effect, 4 a file is rejected, 5 the terminal powers off at
start. Of several the highest; the reasons are printed first.)";

bool print(const QByteArray& text, std::FILE* stream)
{
    const auto size = static_cast<std::size_t>(text.size());
    return std::fwrite(text.constData(), 1, size, stream) == size && std::fflush(stream) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    use_utf8_locale();
    const QCoreApplication application(argc, argv);
    QString power = QLatin1String(paths().power_config);
    QString oem = QLatin1String(paths().oem_profile);
    bool json = false;
    Tool_command_line line(tool, QLatin1String(description));
    line.add_switch("json", "Print JSON.", json);
    line.add_text("power", "file", "The power configuration.", power);
    line.add_text("oem", "file", "The OEM profile.", oem);
    const Tool_request request = line.parse(QCoreApplication::arguments());
    if (!request.runs())
        return leave(tool, request);

    const Findings findings = check_files(power, oem);
    const QByteArray text =
        json ? as_json(findings) : as_text(findings, isatty(STDOUT_FILENO) != 0);
    if (!print(text, stdout))
        return tool_failed;
    return findings.problems.isEmpty() ? 0 : static_cast<int>(findings.problems.first().kind);
}
