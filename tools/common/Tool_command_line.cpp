#include "Tool_command_line.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QHash>

#include <algorithm>

namespace {

// Not Qt's own, which brings an option for options that only programs with windows have.
QCommandLineOption help_option()
{
    return {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Prints this help.")};
}

QCommandLineOption version_option()
{
    return {{QStringLiteral("v"), QStringLiteral("version")},
            QStringLiteral("Prints the version.")};
}

/// Hands the options their values, in their order. What is wrong with one, or nothing.
QString take_values(const QVector<Tool_option>& options, const QCommandLineParser& parser)
{
    QHash<QString, int> taken;
    for (const QString& name : parser.optionNames()) {
        const QVector<Tool_option>::const_iterator option =
            std::find_if(options.begin(), options.end(),
                         [&name](const Tool_option& each) { return each.name == name; });
        const QString value =
            option->value.isEmpty() ? QString() : parser.values(name).value(taken[name]++);
        QString wrong = option->take(value);
        if (!wrong.isEmpty())
            return wrong;
    }
    return {};
}

QString number_fault(const QStringList& words, int least, int most)
{
    if (words.size() > most && most == 0)
        return QStringLiteral("not an option: ") + words.first();
    if (words.size() > most)
        return QStringLiteral("one argument too many: ") + words[most];
    return words.size() < least ? QStringLiteral("an argument is missing") : QString();
}

} // namespace

void Tool_request::refuse(const QString& reason)
{
    if (reason.isEmpty() || !runs())
        return;
    text = reason;
    status = tool_usage;
}

Tool_command_line::Tool_command_line(const QString& name, const QString& description)
    : name_(name), description_(description)
{
}

void Tool_command_line::add(const Tool_option& option)
{
    options_.append(option);
}

void Tool_command_line::add(const char* name, const char* value, const char* meaning,
                            const std::function<QString(const QString&)>& take)
{
    add({QString::fromLatin1(name), QString::fromLatin1(value), QString::fromLatin1(meaning),
         take});
}

void Tool_command_line::add_text(const char* name, const char* value, const char* meaning,
                                 QString& place)
{
    add(name, value, meaning, [&place](const QString& text) {
        place = text;
        return QString();
    });
}

void Tool_command_line::add_switch(const char* name, const char* meaning, bool& is_set)
{
    add(name, "", meaning, [&is_set](const QString&) {
        is_set = true;
        return QString();
    });
}

void Tool_command_line::take_arguments(int least, int most, const QString& shown,
                                       const QString& meaning)
{
    least_arguments_ = least;
    most_arguments_ = most;
    arguments_shown_ = shown;
    arguments_meaning_ = meaning;
}

void Tool_command_line::add_verb(const QString& verb, Tool_command_line& line)
{
    verbs_.append({verb, &line});
}

Tool_request Tool_command_line::parse(const QStringList& arguments) const
{
    if (!verbs_.isEmpty() && arguments.size() > 1 && !arguments[1].startsWith(QLatin1Char('-')))
        return parse_verb(arguments);
    QCommandLineParser parser;
    parser.setApplicationDescription(description_);
    parser.addOptions({help_option(), version_option()});
    for (const Tool_option& option : options_)
        parser.addOption({option.name, option.meaning, option.value});
    if (!arguments_shown_.isEmpty())
        parser.addPositionalArgument(arguments_shown_, arguments_meaning_, arguments_shown_);
    Tool_request request;
    if (!parser.parse(arguments)) {
        request.refuse(parser.errorText());
    } else if (parser.isSet(help_option().names().last())) {
        request.text = usage(parser.helpText(), arguments.value(0));
    } else if (parser.isSet(version_option().names().last())) {
        request.text = name_ + QStringLiteral(" " DOV_VERSION);
    } else if (!verbs_.isEmpty()) {
        request.refuse(QStringLiteral("a verb is missing; --help tells them"));
    } else {
        request.arguments = parser.positionalArguments();
        request.refuse(take_values(options_, parser));
        request.refuse(number_fault(request.arguments, least_arguments_, most_arguments_));
    }
    return request;
}

Tool_request Tool_command_line::parse_verb(const QStringList& arguments) const
{
    const QString& word = arguments[1];
    const QVector<Verb>::const_iterator verb = std::find_if(
        verbs_.begin(), verbs_.end(), [&word](const Verb& each) { return each.name == word; });
    Tool_request request;
    if (verb == verbs_.end()) {
        request.refuse(QStringLiteral("not a verb: %1; --help tells them").arg(word));
        return request;
    }
    request =
        verb->line->parse(QStringList(arguments[0] + QLatin1Char(' ') + word) + arguments.mid(2));
    request.verb = word;
    return request;
}

/// Qt's help with the program as it was called, its verb included, and with the verbs.
QString Tool_command_line::usage(const QString& help, const QString& program) const
{
    const QString rest = help.mid(help.indexOf(QLatin1String(" [options]")));
    QString text = QStringLiteral("Usage: ") + program;
    if (verbs_.isEmpty())
        return text + rest + further_help_;
    text += QStringLiteral(" verb") + rest + QStringLiteral("\nVerbs, each with its own --help:\n");
    for (const Verb& verb : verbs_)
        text +=
            QStringLiteral("  %1 %2\n")
                .arg((verb.name + QLatin1Char(' ') + verb.line->arguments_shown_).leftJustified(24),
                     verb.line->description_.section(QLatin1Char('\n'), 0, 0));
    return text + further_help_;
}

bool say(std::FILE* stream, const QString& text)
{
    const QByteArray line = text.toLocal8Bit() + '\n';
    const auto size = static_cast<std::size_t>(line.size());
    return std::fwrite(line.constData(), 1, size, stream) == size && std::fflush(stream) == 0;
}

void complain(const QString& name, const QString& text)
{
    (void)say(stderr, name + QStringLiteral(": ") + text);
}

int leave(const QString& name, const Tool_request& request)
{
    if (request.status != tool_done)
        complain(name, request.text);
    else if (!say(stdout, request.text))
        return tool_failed;
    return request.status;
}
