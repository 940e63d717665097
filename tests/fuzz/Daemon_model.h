#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// What the objects on the bus hold, print, log and signal after messages of the controller: the
/// catalogue of messages once more, written without the program's tables.
class Daemon_model {
public:
    /// One input with a change threshold; the limits never matter to the frequency.
    struct Input {
        double value = -1000000.0;
        double reported = -1000000.0;
        double hysteresis = 1000000.0;
        double minimum = -1000000.0;
        double maximum = 1000000.0;
        bool below = false;
        bool above = false;
    };

    struct Output {
        bool on = false;
        bool enabled = true;
    };

    /// The inputs: analog, voltages, temperatures, ambient light, frequency.
    static constexpr std::size_t voltage = 1;
    static constexpr std::size_t temperature = 7;
    static constexpr std::size_t light = 13;
    static constexpr std::size_t frequency = 14;
    static constexpr std::size_t input_count = 15;

    using Message = std::vector<std::uint8_t>;

    void receive(const Message& message);

    std::array<bool, 4> digital_inputs{};
    std::array<Input, input_count> inputs{};
    std::array<Output, 4> outputs{};
    bool ignition_on = true;
    int ignition_mode = 255;
    double brightness = 100.0;
    std::string hardware = "No PC Comms";
    std::string firmware = "No PC Comms";
    std::string unique_id = "No PC Comms";
    std::array<int, 3> configuration = {255, 255, 255};
    int oem_code = 255;

    std::string printed;
    std::string errors;
    std::string logged;
    std::string signalled;

private:
    bool is_routed(const Message& message);
    bool is_accepted(const Message& message);
    bool digital(const Message& message);
    bool digest(const Message& message);
    bool voltages(const Message& message, std::size_t first);
    bool temperatures(const Message& message);
    bool versions(const Message& message);
    bool output_report(const Message& message);
    bool backlight(const Message& message);
    void ignition(const Message& message);
    bool update(std::size_t input, double value);
    bool refuse(const Message& message);
    bool is_long_enough(const Message& message, std::size_t size);
    void print_bytes(const char* format, const Message& message, std::size_t count);
};

/// As printf spells it.
[[gnu::format(printf, 1, 2)]] std::string spell(const char* format, ...);
