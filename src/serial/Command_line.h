#pragma once

#include <functional>

/// Takes one option: its name without the leading dashes and its value, null when the next
/// argument is absent or begins with a dash. False ends the walk.
using Option_handler = std::function<bool(const char* name, const char* value)>;

/// Walks the arguments after the program's name: "--name value", "--name" and the same with one
/// dash. Returns false when a bare word stands where an option is expected, or when the handler
/// refuses an option; the walk ends there.
bool walk_options(int count, char** arguments, const Option_handler& handle_option);

/// The value of --baudrate as strtoul reads it with base 0, cut to 32 bits; 0 for no value.
unsigned int parse_baud_rate(const char* value);

/// The usage text that the daemon and the simulator share, on standard output.
void print_option_usage(const char* program);
