#include "Verb.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>

namespace {

constexpr Verb verbs[] = {
    {"read", "FILE...", "show what is in recordings", run_read},
    {"stats", "FILE", "count what is in a recording", run_stats},
    {"compare", "FILE FILE", "tell what differs between two recordings", run_compare},
};

void print_help()
{
    std::printf("Usage: dov-line VERB [OPTION...] [ARGUMENT...]\n\n"
                "Looks at the serial line between dov-dbus and the power controller.\n\nVerbs:\n");
    for (const Verb& verb : verbs)
        std::printf("  %-8s %-27s %s\n", verb.name, verb.arguments, verb.summary);
    std::printf("\nOptions:\n"
                "  --help                               print this, or a verb's options\n"
                "  --version                            print the version\n");
}

} // namespace

void complain(const QString& text)
{
    std::fprintf(stderr, "dov-line: %s\n", qPrintable(text));
}

int refuse(const QString& verb, const QString& text)
{
    complain(text);
    std::fprintf(stderr, "Try: dov-line %s --help\n", qPrintable(verb));
    return exit_usage;
}

bool parse(QCommandLineParser& parser, const QStringList& arguments, int& status)
{
    const QCommandLineOption help(QStringLiteral("help"), QStringLiteral("print this"));
    parser.addOption(help);
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    if (!parser.parse(arguments)) {
        status = refuse(arguments[0], parser.errorText());
        return false;
    }
    if (parser.isSet(help)) {
        std::fputs(qPrintable(parser.helpText()), stdout);
        status = exit_good;
        return false;
    }
    return true;
}

int main(int count, char** values)
{
    const QCoreApplication application(count, values);
    QCoreApplication::setApplicationName(QStringLiteral("dov-line"));
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.isEmpty() || arguments[0] == QLatin1String("--help")) {
        print_help();
        return arguments.isEmpty() ? exit_usage : exit_good;
    }
    if (arguments[0] == QLatin1String("--version")) {
        std::puts("dov-line " DOV_VERSION);
        return exit_good;
    }
    const auto* verb = std::find_if(std::begin(verbs), std::end(verbs), [&](const Verb& each) {
        return arguments[0] == QLatin1String(each.name);
    });
    if (verb == std::end(verbs)) {
        complain(QStringLiteral("there is no \"%1\"; see dov-line --help").arg(arguments[0]));
        return exit_usage;
    }
    return verb->run(arguments);
}
