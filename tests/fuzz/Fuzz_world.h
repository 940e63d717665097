#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// What the fuzz targets share: the bytes of an input as choices, the texts of the code under
/// test, and the end of a run that has found something.

/// Ends the run with a report when a rule does not hold.
void require(bool holds, const char* rule, const std::string& details = {});

/// The bytes of one input, front first; zeros once they are used up.
class Choices {
public:
    Choices(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}

    bool are_left() const { return at_ != end_; }
    std::uint8_t byte() { return at_ == end_ ? std::uint8_t{0} : *at_++; }
    unsigned int below(unsigned int limit) { return byte() % limit; }

    /// The next `count` bytes, fewer at the end.
    std::string text(std::size_t count);

    /// Everything that is left.
    std::string rest();

private:
    const std::uint8_t* at_;
    const std::uint8_t* end_;
};

/// Takes what goes to a descriptor of the process from the first take() on.
class Captured_text {
public:
    explicit Captured_text(int descriptor) : descriptor_(descriptor) {}

    /// What has been written since the last call.
    std::string take();

private:
    int descriptor_;
    int file_ = -1;
};

/// The process's standard output and error.
Captured_text& captured_output();
Captured_text& captured_errors();

/// One message that was handed to syslog.
struct Log_message {
    int priority;
    std::string text;

    bool operator==(const Log_message& other) const
    {
        return priority == other.priority && text == other.text;
    }
};

/// The messages since the last call.
std::vector<Log_message> take_log();

/// The texts of the messages, for a report.
std::string to_text(const std::vector<Log_message>& messages);
