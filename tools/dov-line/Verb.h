#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

/// How dov-line ends.
enum Exit_status {
    exit_good = 0,
    exit_found = 1,  ///< a condition holds, a difference was found, an answer did not come
    exit_usage = 2,  ///< the command line cannot be
    exit_input = 3,  ///< a recording or a device cannot be read, or not to its end
    exit_output = 4, ///< what was to be written could not be
};

/// One thing that dov-line does.
struct Verb {
    const char* name;
    const char* arguments; ///< as the usage line shows them
    const char* summary;
    int (*run)(const QStringList& arguments); ///< [0] is the verb; returns an Exit_status
};

/// Prints "dov-line: TEXT" on standard error.
void complain(const QString& text);

/// Parses a verb's command line. Prints the help for --help, and what is wrong otherwise.
/// Returns whether the verb is to go on; if not, `status` is how to end.
bool parse(QCommandLineParser& parser, const QStringList& arguments, int& status);

/// Complains about the command line and names the help; exit_usage.
int refuse(const QString& verb, const QString& text);

int run_read(const QStringList& arguments);
int run_stats(const QStringList& arguments);
int run_compare(const QStringList& arguments);
