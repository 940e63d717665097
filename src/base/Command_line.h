#pragma once

#include <functional>

/// Takes one option: its name without the leading dashes and its value, null when the next
/// argument is absent or begins with a dash. False ends the walk.
using Option_handler = std::function<bool(const char* name, const char* value)>;

/// Walks the arguments after the program's name: "--name value", "--name" and the same with one
/// dash. Returns false when a bare word stands where an option is expected, or when the handler
/// refuses an option; the walk ends there.
bool walk_options(int count, char** arguments, const Option_handler& handle_option);

/// The value of --baudrate as a strtoul of 64 bits reads it with base 0, cut to 32 bits; 0 for no
/// value.
unsigned int parse_baud_rate(const char* value);

/// The line that the options ask for.
struct Link_options {
    const char* port; ///< null for --port without a path
    unsigned int baud_rate;
};

/// Takes --port and --baudrate. Anything else prints the usage, and is complained about before
/// unless it is --help. False for a baud rate of 0.
bool take_link_option(const char* name, const char* value, Link_options& options,
                      const std::function<void()>& print_usage);

/// The usage text that the daemon and the simulator share, on standard output.
void print_option_usage(const char* program);
