#include "Verb.h"

namespace {

const QString tool = QStringLiteral("dov-line");

} // namespace

Verb::Verb(const char* name, const char* description)
    : name_(QLatin1String(name)), line_(tool, QLatin1String(description))
{
}

void Verb::add_time(Time_style& style)
{
    line_.add("time", "relative|absolute|delta",
              "Times since the beginning, of the wall clock, or since the last line.",
              [&style](const QString& text) {
                  return parse_time_style(text, style)
                             ? QString()
                             : QStringLiteral("--time: \"%1\" is not relative, absolute or delta")
                                   .arg(text);
              });
}

void Verb::add_id(Event_filter& filter)
{
    line_.add("id", "message", "Only this message: 0x36, 54 or digest; again for more.",
              [&filter](const QString& text) {
                  const QString error = filter.want_message(text);
                  return error.isEmpty() ? error : QStringLiteral("--id: ") + error;
              });
}

void complain(const QString& text)
{
    complain(tool, text);
}
