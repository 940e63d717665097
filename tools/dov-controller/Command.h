#pragma once

#include "Words.h"

#include <QByteArray>

#include <functional>
#include <vector>

class Bench_controller;

/// What a command does to a controller.
using Action = std::function<void(Bench_controller&)>;

/// A command of scripts and of standard input.
struct Command_kind {
    const char* name;
    const char* arguments;
    const char* meaning;
    bool is_option; ///< whether it is also an option of the program
    Action (*parse)(Words& words);
};

/// All commands, in the order in which they are described.
const std::vector<Command_kind>& command_kinds();

/// Reads a command from the rest of a line. None, and an error in `words`, if it is not good.
Action parse_command(Words& words);

/// Reads the arguments of one kind of command, which end the line.
Action parse_arguments(const Command_kind& kind, Words& words);
