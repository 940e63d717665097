#include "Check_verb.h"

#include <QFile>
#include <QJsonDocument>
#include <QRegularExpression>

#include <algorithm>
#include <cstdio>
#include <limits>

#include <unistd.h>

namespace {

constexpr double us_per_s = 1e6;

/// Whether a name is meant: itself, by wildcards, or by its group.
bool is_meant(const QString& name, const QString& pattern)
{
    const QRegularExpression expression(QRegularExpression::wildcardToRegularExpression(pattern));
    return expression.match(name).hasMatch() ||
           expression.match(name.section(QLatin1Char('.'), 0, 0)).hasMatch();
}

} // namespace

Check_verb::Check_verb()
    : Device_verb("check", "Checks whether the controller's firmware does what the protocol says.")
{
    line().take_arguments(0, std::numeric_limits<int>::max(), QStringLiteral("name..."),
                          QStringLiteral("Only these checks: recovery.garbage, digest, "
                                         "\"answer.*poll\"."));
    add_number("wait", "ms", "How long an answer may take; 300.", wait_ms_, 1);
    line().add_switch(
        "change", "Also those that change something, which is put back where it can be.", change_);
    line().add_switch("list", "Tells the checks, and ends.", list_);
    line().add_switch("tap", "A report in TAP.", tap_);
    line().add_text("junit", "file", "Writes a report in JUnit's XML, too.", junit_);
    add_json();
}

int Check_verb::run(const QStringList& arguments)
{
    Checks checks;
    const QString error = choose(arguments, checks);
    if (!error.isEmpty()) {
        complain(error);
        return tool_usage;
    }
    if (list_)
        return list(checks);
    Conversation conversation;
    Examiner examiner(conversation, wait_ms_);
    const int opened = open(conversation);
    if (opened != tool_done)
        return opened;
    if (tap_)
        tell(tap_header(checks.size()), {});
    examine(checks, examiner);
    const Check_counts counts = count(results_);
    if (!tap_)
        tell(text_of(counts), json_of(counts));
    const bool is_written = write_junit();
    const bool is_whole = results_.size() == checks.size() && counts.unjudged == 0;
    const int status = end(conversation, counts.failed > 0 || !is_whole ? status_found : tool_done);
    return is_written ? status : status_output;
}

/// Those that are meant; an error's text, or nothing.
QString Check_verb::choose(const QStringList& names, Checks& checks) const
{
    Checks all = controller_checks();
    for (const QString& name : names) {
        if (std::none_of(all.begin(), all.end(), [&name](const Controller_check& check) {
                return is_meant(check.name, name);
            }))
            return QStringLiteral("no check \"%1\"; check --list tells them").arg(name);
    }
    std::copy_if(all.begin(), all.end(), std::back_inserter(checks),
                 [&names](const Controller_check& check) {
                     return names.isEmpty() ||
                            std::any_of(names.begin(), names.end(), [&check](const QString& name) {
                                return is_meant(check.name, name);
                            });
                 });
    return {};
}

int Check_verb::list(const Checks& checks)
{
    for (const Controller_check& check : checks)
        tell(QStringLiteral("%1 %2%3")
                 .arg(check.name, -40)
                 .arg(check.changes ? QStringLiteral("--change: ") : QString(), check.meaning),
             {{QStringLiteral("name"), check.name},
              {QStringLiteral("changes"), check.changes},
              {QStringLiteral("meaning"), check.meaning}});
    return output().flush() ? tool_done : status_output;
}

void Check_verb::examine(const Checks& checks, Examiner& examiner)
{
    for (const Controller_check& check : checks) {
        show_progress(check.name, checks.size());
        const qint64 begin_us = examiner.dialogue.now_us();
        const Verdict verdict = judge(check, examiner);
        examiner.clean_up();
        // What came of a check that was broken off says nothing.
        if (examiner.dialogue.is_over() || is_output_gone())
            break;
        const auto us = static_cast<double>(examiner.dialogue.now_us() - begin_us);
        report({check.name, verdict, us / us_per_s});
    }
    show_progress({}, 0);
}

Verdict Check_verb::judge(const Controller_check& check, Examiner& examiner) const
{
    if (check.changes && !change_)
        return {Verdict::Kind::left_out, QStringLiteral("it changes something; --change runs it")};
    return check.run(examiner);
}

void Check_verb::report(const Check_result& result)
{
    results_.push_back(result);
    show_progress({}, 0);
    tell(tap_ ? tap_of(result, static_cast<int>(results_.size())) : line_of(result),
         json_of(result));
}

/// On a terminal, where it is wiped out again.
void Check_verb::show_progress(const QString& name, std::size_t of) const
{
    if (isatty(STDERR_FILENO) == 0)
        return;
    const QString text =
        name.isEmpty() ? QString()
                       : QStringLiteral("%1/%2 %3").arg(results_.size() + 1).arg(of).arg(name);
    (void)std::fprintf(stderr, "\r\033[K%s", qPrintable(text));
}

/// False, after saying why, when it cannot be written.
bool Check_verb::write_junit() const
{
    if (junit_.isEmpty())
        return true;
    QFile file(junit_);
    const QByteArray text = junit_of(results_);
    const bool is_written = file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
                            file.write(text) == text.size() && file.flush();
    if (!is_written)
        complain(junit_ + QStringLiteral(": ") + file.errorString());
    return is_written;
}
