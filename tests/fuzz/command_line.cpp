// Any arguments: the options that the daemon and the simulator see, the baud rate, and what the
// entry point prints up to its usage.

#include "Command_line.h"

#include "Fuzz_world.h"

#include <csignal>

#include <unistd.h>

/// The program's entry point, under a name of its own.
int dov_main(int count, char** arguments);

namespace {

using Arguments = std::vector<std::string>;
using Option = std::pair<std::string, std::string>; ///< "\1" for no value

const std::vector<std::string> words = {
    "--port",  "--baudrate", "--help",  "--simulate", "--simulateX", "-help",   "-port",
    "-",       "--",         "---port", "",           "/dev/ttyS1",  "9600",    "0",
    "0x1C200", "0777",       "-5",      "x",          "99999999999", "--debug",
};

Arguments make_arguments(Choices& choices)
{
    Arguments arguments = {"dov-dbus"};
    while (choices.are_left() && arguments.size() < 12) {
        const unsigned int choice = choices.below(static_cast<unsigned int>(words.size()) + 4);
        std::string word = choice < words.size() ? words[choice] : choices.text(choices.below(20));
        arguments.push_back(word.substr(0, word.find('\0')));
    }
    return arguments;
}

std::vector<char*> to_vector(Arguments& arguments)
{
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    return pointers;
}

bool is_dashed(const std::string& word)
{
    return !word.empty() && word[0] == '-';
}

/// What the walk must see, and whether it comes to its end.
bool predict(const Arguments& arguments, std::size_t refused, std::vector<Option>& options)
{
    std::size_t i = 1;
    while (i < arguments.size()) {
        if (!is_dashed(arguments[i]))
            return false;
        const bool two = arguments[i].size() > 1 && arguments[i][1] == '-';
        Option option = {arguments[i].substr(two ? 2 : 1), "\1"};
        ++i;
        if (i < arguments.size() && !is_dashed(arguments[i]))
            option.second = arguments[i++];
        options.push_back(option);
        if (options.size() == refused)
            return false;
    }
    return true;
}

void check_options(Arguments& arguments, std::size_t refused)
{
    std::vector<Option> predicted;
    const bool all = predict(arguments, refused, predicted);
    std::vector<Option> seen;
    const auto handler = [&seen, refused](const char* name, const char* value) {
        seen.emplace_back(name, value == nullptr ? "\1" : value);
        return seen.size() != refused;
    };
    const bool walked =
        walk_options(static_cast<int>(arguments.size()), to_vector(arguments).data(), handler);
    require(walked == all && seen == predicted, "the options are those of the model");
}

void check_baud_rates(const Arguments& arguments)
{
    require(parse_baud_rate(nullptr) == 0, "no value is no rate");
    for (const std::string& argument : arguments) {
        long long number = 0;
        const bool is_number = !argument.empty() && argument.size() < 10 &&
                               argument.find_first_not_of("0123456789") == std::string::npos &&
                               argument[0] != '0';
        if (is_number)
            number = std::stoll(argument);
        if (is_number || argument == "0" || argument == "x" || argument.empty())
            require(parse_baud_rate(argument.c_str()) == number, "the rate is the number",
                    argument);
    }
}

/// Calls the entry point and closes the descriptor of the signals, which it leaves open until the
/// process ends.
int run_entry(Arguments& arguments)
{
    const int descriptor = dup(STDIN_FILENO);
    close(descriptor);
    const int status = dov_main(static_cast<int>(arguments.size()), to_vector(arguments).data());
    require(close(descriptor) == 0, "the entry point makes one descriptor");
    return status;
}

/// Only ever called with "--help" among the arguments: nothing starts.
void check_entry(Arguments arguments)
{
    arguments.push_back("--help");
    std::string expected = "Bah\n";
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        expected += "Got " + arguments[i] + "\n";
        if (arguments[i] == "--help")
            break;
    }
    expected += "Usage: --help [--simulate] [--help]\n"
                "    --simulate  Simulate PIC\n"
                "    --help      This help\n";
    require(run_entry(arguments) == 0, "the usage ends with status 0");
    const std::string printed = captured_output().take();
    require(printed == expected, "the usage comes after the echo", printed);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    captured_errors().take();
    captured_output().take();
    Choices choices(data, size);
    const std::size_t refused = choices.byte();
    Arguments arguments = make_arguments(choices);
    check_options(arguments, refused);
    check_baud_rates(arguments);
    check_entry(arguments);
    return 0;
}
