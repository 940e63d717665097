#pragma once

#include "Event_filter.h"
#include "Event_format.h"
#include "Tool_command_line.h"

// How dov-line ends, beside the statuses that every tool has.
constexpr int status_found = tool_failed; ///< a condition holds, a difference, no answer
constexpr int status_input = 3;           ///< a recording or device cannot be read to its end
constexpr int status_output = 4;          ///< what was to be written could not be

/// One thing that dov-line does.
class Verb {
public:
    Verb(const char* name, const char* description);
    virtual ~Verb() = default;
    Verb(const Verb&) = delete;
    Verb& operator=(const Verb&) = delete;

    const QString& name() const { return name_; }
    Tool_command_line& line() { return line_; }

    /// Does it, with what its options have taken; returns the status to end with.
    virtual int run(const QStringList& arguments) = 0;

protected:
    /// Options that several verbs have: --time, and --id.
    void add_time(Time_style& style);
    void add_id(Event_filter& filter);

private:
    QString name_;
    Tool_command_line line_;
};

/// Prints "dov-line: TEXT" on standard error.
void complain(const QString& text);
