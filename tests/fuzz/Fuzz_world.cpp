#include "Fuzz_world.h"

#include "Console.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/mman.h>
#include <syslog.h>
#include <unistd.h>

namespace {

constexpr int first_own_descriptor = 100;

/// Where a report goes: standard error as it was before it was captured.
int report_descriptor = -1;

std::vector<Log_message> log_messages;

void keep_message(int priority, const char* format, va_list arguments)
{
    char text[1024];
    (void)std::vsnprintf(text, sizeof text, format, arguments);
    log_messages.push_back({priority, text});
}

} // namespace

void require(bool holds, const char* rule, const std::string& details)
{
    if (holds)
        return;
    const std::string report = std::string("broken: ") + rule + "\n" + details + "\n";
    (void)!::write(report_descriptor, report.data(), report.size());
    std::abort();
}

std::string Choices::text(std::size_t count)
{
    const auto taken = std::min(count, static_cast<std::size_t>(end_ - at_));
    std::string bytes(reinterpret_cast<const char*>(at_), taken);
    at_ += taken;
    return bytes;
}

std::string Choices::rest()
{
    return text(static_cast<std::size_t>(end_ - at_));
}

std::string Captured_text::take()
{
    Console::flush();
    if (file_ < 0) {
        if (report_descriptor < 0)
            report_descriptor = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, first_own_descriptor);
        const int memory = memfd_create("captured", MFD_CLOEXEC);
        file_ = fcntl(memory, F_DUPFD_CLOEXEC, first_own_descriptor);
        if (memory != descriptor_) {
            dup2(file_, descriptor_);
            ::close(memory);
        }
        return {};
    }
    const off_t size = lseek(file_, 0, SEEK_CUR);
    if (size <= 0)
        return {};
    std::string text(static_cast<std::size_t>(size), '\0');
    (void)!pread(file_, text.data(), text.size(), 0);
    (void)!ftruncate(file_, 0);
    lseek(file_, 0, SEEK_SET);
    return text;
}

Captured_text& captured_output()
{
    static Captured_text text(STDOUT_FILENO);
    return text;
}

Captured_text& captured_errors()
{
    static Captured_text text(STDERR_FILENO);
    return text;
}

std::vector<Log_message> take_log()
{
    return std::exchange(log_messages, {});
}

std::string to_text(const std::vector<Log_message>& messages)
{
    std::string text;
    for (const Log_message& message : messages)
        text += std::to_string(message.priority) + ": " + message.text + "\n";
    return text;
}

// The C library's syslog, kept in memory.

extern "C" {

void openlog(const char* /*ident*/, int /*option*/, int /*facility*/)
{
}

void closelog()
{
}

void vsyslog(int priority, const char* format, va_list arguments)
{
    keep_message(priority, format, arguments);
}

void syslog(int priority, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    keep_message(priority, format, arguments);
    va_end(arguments);
}

void __vsyslog_chk(int priority, int /*flag*/, const char* format, va_list arguments)
{
    keep_message(priority, format, arguments);
}

void __syslog_chk(int priority, int /*flag*/, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    keep_message(priority, format, arguments);
    va_end(arguments);
}
}
