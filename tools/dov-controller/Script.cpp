#include "Script.h"

#include <QList>

namespace {

/// The time of a step that follows one at `last_ms`.
qint64 parse_time(Words& words, qint64 last_ms)
{
    const QByteArray text = words.word("a time");
    const bool is_relative = text.startsWith('+');
    const auto time_ms = Words::to_time(is_relative ? text.mid(1) : text);
    if (!time_ms) {
        words.fail(QStringLiteral("\"%1\" is not a time: a number with ms, s or min, "
                                  "and + before it for one after the last step")
                       .arg(QString::fromUtf8(text)));
        return last_ms;
    }
    if (is_relative)
        return last_ms + *time_ms;
    if (*time_ms < last_ms)
        words.fail(QStringLiteral("the time is before that of the last step"));
    return *time_ms;
}

} // namespace

Script Script::parse(const QByteArray& text)
{
    Script script;
    qint64 last_ms = 0;
    const QList<QByteArray> lines = text.split('\n');
    for (int i = 0; i < lines.size(); ++i) {
        Words words(lines[i]);
        if (words.at_end())
            continue;
        const qint64 at_ms = parse_time(words, last_ms);
        Action action = parse_command(words);
        if (words.has_failed()) {
            script.errors.append({i + 1, words.error_column(), words.error()});
            continue;
        }
        script.steps.append({at_ms, std::move(action)});
        last_ms = at_ms;
    }
    return script;
}
