#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

#include <cstdio>
#include <functional>

/// How every tool ends. One that has more to say adds numbers above these.
enum Tool_status {
    tool_done = 0,
    tool_failed = 1,
    tool_usage = 2, ///< the command line cannot be
};

/// One option. `--help`, `--version` and their letters are every tool's.
struct Tool_option {
    QString name;    ///< without dashes
    QString value;   ///< what its value is called; empty for a switch
    QString meaning; ///< a sentence

    /// Takes the value, each time that the option is there, in the order of the command line.
    /// Returns what is wrong with it, in a sentence that names the option; empty for nothing.
    std::function<QString(const QString& value)> take;
};

/// What a command line asks for: to run, or a text to print and leave.
struct Tool_request {
    QString text;           ///< help, version or an error; empty to run
    int status = tool_done; ///< to leave with, when there is a text
    QString verb;           ///< of a tool that has verbs
    QStringList arguments;  ///< the bare words, behind the verb

    bool runs() const { return text.isEmpty(); }

    /// Does not run, for the reason given, unless it is empty or there is a text already.
    void refuse(const QString& reason);
};

/// The command line of a tool, or of one verb of it: options in any order, and bare words where
/// they are taken.
///
///     dov-tool [options] [arguments]
///     dov-tool verb [options] [arguments]
class Tool_command_line {
public:
    /// `name` is the program's, as in its errors and its version.
    Tool_command_line(const QString& name, const QString& description);

    void add(const Tool_option& option);
    void add(const char* name, const char* value, const char* meaning,
             const std::function<QString(const QString& value)>& take);

    /// What most options are: a text that is kept, and a switch that is set.
    void add_text(const char* name, const char* value, const char* meaning, QString& place);
    void add_switch(const char* name, const char* meaning, bool& is_set);

    /// Takes bare words, between so many and so many; `shown` is how the usage writes them. Without
    /// this none is taken.
    void take_arguments(int least, int most, const QString& shown, const QString& meaning);

    /// What the help says behind the options.
    void set_further_help(const QString& text) { further_help_ = text; }

    /// Adds a verb with a command line of its own; the tool then takes nothing else but one of its
    /// verbs, `--help` and `--version`. Lives as long as this.
    void add_verb(const QString& verb, Tool_command_line& line);

    /// The first of the arguments is the program.
    Tool_request parse(const QStringList& arguments) const;

private:
    struct Verb {
        QString name;
        Tool_command_line* line;
    };

    Tool_request parse_verb(const QStringList& arguments) const;
    QString usage(const QString& help, const QString& program) const;

    QString name_;
    QString description_;
    QString further_help_;
    QVector<Tool_option> options_;
    QVector<Verb> verbs_;
    int least_arguments_ = 0;
    int most_arguments_ = 0;
    QString arguments_shown_;
    QString arguments_meaning_;
};

/// Prints a line. False when it could not be.
bool say(std::FILE* stream, const QString& text);

/// Prints "NAME: TEXT" on standard error.
void complain(const QString& name, const QString& text);

/// Prints the request's text, as help or version on standard output or as an error on standard
/// error. Returns the status to end with.
int leave(const QString& name, const Tool_request& request);
