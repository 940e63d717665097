#include "Logger.h"

#include "Console.h"

#include <cstdarg>

#include <syslog.h>

namespace Logger {

int Buf::sync()
{
    if (count_ == 0)
        return 0;
    line_[count_] = '\0';
    Console::flush(); // no line overtakes a text
    syslog(priority_, "%s", line_);
    count_ = 0;
    return 0;
}

std::streamsize Buf::xsputn(const char* text, std::streamsize count)
{
    for (std::streamsize taken = 0; taken < count; ++taken) {
        if (!make_room())
            return taken;
        if (static_cast<signed char>(text[taken]) == traits_type::eof()) {
            sync();
            return taken;
        }
        line_[count_++] = text[taken];
        if (text[taken] == '\n')
            sync();
    }
    return count;
}

Buf::int_type Buf::overflow(int_type character)
{
    if (!make_room())
        return traits_type::eof();
    if (character != traits_type::eof()) {
        line_[count_++] = traits_type::to_char_type(character);
        if (character != '\n')
            return character;
    }
    sync();
    return character;
}

/// Sends a full line; whether there is room for one more character then.
bool Buf::make_room()
{
    if (static_cast<unsigned int>(count_) + 2 > longest)
        sync();
    return static_cast<unsigned int>(count_) + 2 <= longest;
}

OStream::OStream(int priority)
    : std::basic_ostream<char>(nullptr), buf_(priority), priority_(priority)
{
    rdbuf(&buf_);
}

void OStream::set_priority(int priority)
{
    priority_ = priority;
    buf_.set_priority(priority);
}

Channel::Channel(const char* ident, int option, int facility, bool flag)
    : ident_(ident), option_(option), facility_(facility), spare_(flag), stream_(LOG_INFO)
{
    openlog(ident_, option_, facility_);
}

Channel::~Channel()
{
    closelog();
}

OStream& Channel::stream(int priority)
{
    stream_.clear();
    stream_.set_priority(priority);
    return stream_;
}

void Channel::format(int priority, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

} // namespace Logger
