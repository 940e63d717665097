#include "Verb.h"

namespace {

const QString tool = QStringLiteral("dov-line");

} // namespace

Verb::Verb(const char* name, const char* description)
    : name_(QLatin1String(name)), line_(tool, QLatin1String(description))
{
}

void Verb::add_switch(const char* name, const char* meaning, bool& is_set)
{
    line_.add({QLatin1String(name), {}, QLatin1String(meaning), [&is_set](const QString&) {
                   is_set = true;
                   return QString();
               }});
}

void complain(const QString& text)
{
    complain(tool, text);
}

QString take_time_style(const QString& text, Time_style& style)
{
    return parse_time_style(text, style)
               ? QString()
               : QStringLiteral("--time: \"%1\" is not relative, absolute or delta").arg(text);
}
