#include "Command_line.h"

#include "Console.h"

#include <cstdlib>
#include <cstring>

bool walk_options(int count, char** arguments, const Option_handler& handle_option)
{
    for (int i = 1; i < count;) {
        const char* name = arguments[i];
        if (name[0] != '-')
            return false;
        name += name[1] == '-' ? 2 : 1;
        const bool has_value = i + 1 < count && arguments[i + 1][0] != '-';
        if (!handle_option(name, has_value ? arguments[i + 1] : nullptr))
            return false;
        i += has_value ? 2 : 1;
    }
    return true;
}

unsigned int parse_baud_rate(const char* value)
{
    return value == nullptr ? 0 : static_cast<unsigned int>(std::strtoull(value, nullptr, 0));
}

bool take_link_option(const char* name, const char* value, Link_options& options,
                      const std::function<void()>& print_usage)
{
    if (std::strcmp(name, "port") == 0) {
        options.port = value;
        return true;
    }
    if (std::strcmp(name, "baudrate") == 0) {
        options.baud_rate = parse_baud_rate(value);
        return options.baud_rate != 0;
    }
    if (std::strcmp(name, "help") != 0)
        Console::out().format("Unknown command %s\n", name);
    print_usage();
    return true;
}

void print_option_usage(const char* program)
{
    Console::out().format("Usage: %s  <commands> where <commands> are a list of:\n", program)
        << "    --port <path>       Open serial port indicated by <path>\n"
           "    --baudrate <rate>   Set baud rate of serial port to <baud>\n"
           "    --debug             Turn on debugging\n"
           "    --help              This help text\n";
}
