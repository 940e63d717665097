#include "Daemon_model.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace {

int word(const Daemon_model::Message& message, std::size_t at)
{
    return message[at] * 256 + message[at + 1];
}

double light_percent(int millivolts)
{
    return std::min(100.0, millivolts * 0.001 * 100 / 4.995);
}

} // namespace

std::string spell(const char* format, ...)
{
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

void Daemon_model::receive(const Message& message)
{
    if (message.empty()) {
        printed += "Unhandled message default\n";
        return;
    }
    printed += spell("Got message %2x\n", message[0]);
    if (!is_routed(message))
        printed += "Unhandled message default\n";
    else if (!is_accepted(message))
        printed += spell("Unknown message %02x\n", message[0]);
}

bool Daemon_model::is_routed(const Message& message)
{
    static const std::array<std::uint8_t, 19> ids = {0x02, 0x06, 0x10, 0x12, 0x16, 0x1a, 0x1c,
                                                     0x1e, 0x20, 0x22, 0x24, 0x28, 0x2a, 0x2e,
                                                     0x32, 0x34, 0x36, 0x3e, 0x40};
    return std::find(ids.begin(), ids.end(), message[0]) != ids.end();
}

bool Daemon_model::is_accepted(const Message& message)
{
    switch (message[0]) {
    case 0x02:
        return true;
    case 0x06:
        printed += "Power Res\n";
        print_bytes("%02x ", message, 0);
        ignition(message);
        return refuse(message); // the first digital input does not know it
    case 0x10:
        print_bytes("%02x ", message, 0);
        return digital(message);
    case 0x12:
    case 0x16:
    case 0x1a:
        return versions(message);
    case 0x1c:
        if (!is_long_enough(message, 2))
            return false;
        if (message[1] != 0)
            signalled += "short_press 1\n";
        return true;
    case 0x1e:
        if (!is_long_enough(message, 3))
            return false;
        printed += "ARAW: ";
        print_bytes("%02X", message, 0);
        return update(0, word(message, 1) * 0.001);
    case 0x20:
        if (!is_long_enough(message, 3))
            return false;
        printed += "LRAW: ";
        print_bytes("%02X", message, 0);
        return update(light, light_percent(word(message, 1)));
    case 0x22:
        return voltages(message, voltage);
    case 0x24:
        return voltages(message, voltage + 3);
    case 0x28:
        return temperatures(message);
    case 0x2a:
        return true;
    case 0x2e:
        if (!is_long_enough(message, 4))
            return false;
        logged += "Configuration was set\n";
        configuration = {(message[1] + 255) % 256, message[2], message[3]};
        return true;
    case 0x32:
        printed += "LCDGOT\n";
        return backlight(message);
    case 0x34:
        return output_report(message);
    case 0x36:
        return digest(message);
    case 0x3e:
        if (!is_long_enough(message, 2))
            return false;
        oem_code = message[1];
        logged += spell("OEM code was set to %d\n", message[1]);
        return true;
    default:
        signalled += "received\n";
        logged += "ATX acknowledge received\n";
        return true;
    }
}

/// A dump of all bytes; the label and the reading around it depend on the identifier.
void Daemon_model::print_bytes(const char* format, const Message& message, std::size_t count)
{
    const bool raw = message[0] == 0x1e || message[0] == 0x20;
    if (message[0] == 0x10 || message[0] == 0x06)
        printed += "DINRAW: ";
    for (std::size_t i = 0; i < (count == 0 ? message.size() : count); ++i) {
        char text[8];
        const bool padded = format[1] == '2';
        const bool upper = format[3] == 'X';
        (void)std::snprintf(text, sizeof text,
                            padded  ? "%2x"
                            : upper ? "%02X"
                                    : "%02x",
                            message[i]);
        printed += text;
        if (!raw)
            printed += ' ';
    }
    printed += raw ? spell(": %.3f\n", word(message, 1) * 0.001) : "\n";
}

bool Daemon_model::digital(const Message& message)
{
    if (!is_long_enough(message, 2))
        return false;
    for (std::size_t i = 0; i < 4; ++i) {
        const bool on = (message[1] & 1 << i) != 0;
        if (on != digital_inputs[i]) {
            errors += spell("Changed id=%c len=%zu\n", message[0], message.size());
            signalled += spell("changed %zu %d\n", i, on);
            digital_inputs[i] = on;
        } else if (message[0] == 0x10) {
            errors += spell("UnChanged id=%c dio=%zu val=%d\n", message[0], i, on);
        }
    }
    return true;
}

bool Daemon_model::digest(const Message& message)
{
    if (message.size() < 6)
        return false;
    printed += "Got Digest: ";
    print_bytes("%2x ", message, 0);
    digital(message);
    update(light, light_percent(word(message, 4)));
    update(0, word(message, 2) * 0.001);
    return is_long_enough(message, 8) && update(frequency, word(message, 6));
}

bool Daemon_model::voltages(const Message& message, std::size_t first)
{
    for (std::size_t i = 0; i < 3; ++i) {
        if (!is_long_enough(message, 3 + 2 * i))
            return false;
        update(first + i, word(message, 1 + 2 * i) * 0.001);
    }
    return true;
}

bool Daemon_model::temperatures(const Message& message)
{
    for (std::size_t i = 0; i < 6; ++i) {
        if (!is_long_enough(message, 2 + i))
            return false;
        update(temperature + i, message[1 + i] < 128 ? message[1 + i] : message[1 + i] - 256);
    }
    return true;
}

bool Daemon_model::versions(const Message& message)
{
    if (message[0] == 0x12) {
        if (!is_long_enough(message, 2))
            return false;
        hardware = message[1] < 11 ? "v1.0" : message[1] < 20 ? "v1.1" : "v2.0";
        return true;
    }
    if (message.size() < (message[0] == 0x16 ? 5U : 8U))
        return false; // in silence
    if (message[0] == 0x16) {
        firmware = spell("v%d.%d.%d", message[4], message[3], message[2]);
        printed += "Got version\n";
        return true;
    }
    unique_id.clear();
    for (std::size_t i = 1; i < 8; ++i)
        unique_id += spell("%02X", message[i]);
    printed += "Got unique ID: " + unique_id + "\n";
    return true;
}

bool Daemon_model::output_report(const Message& message)
{
    if (message.size() < 3)
        return false;
    printed += "Got Dout\n";
    for (std::size_t i = 0; i < 4; ++i) {
        const int code = message[2] / (1 << 2 * i) % 4;
        if (code == 1 || code == 2)
            outputs[i] = {code == 2, true};
        else if (code == 3)
            outputs[i].enabled = false;
    }
    return true;
}

bool Daemon_model::backlight(const Message& message)
{
    if (!is_long_enough(message, 8))
        return false;
    brightness = message[1] * 0.3937007874015748;
    printed += "LCDBRIIN: ";
    print_bytes("%02x ", message, 8);
    printed.pop_back();
    printed += spell(": %.3f\n", brightness);
    return true;
}

void Daemon_model::ignition(const Message& message)
{
    if (!is_long_enough(message, 5))
        return;
    ignition_mode = message[1];
    const bool on = message[4] != 0;
    if (on != ignition_on)
        signalled += spell("ignition %d\n", on);
    ignition_on = on;
}

bool Daemon_model::update(std::size_t number, double value)
{
    Input& input = inputs[number];
    const bool limited = number != frequency;
    errors += spell("Updated val=%g", value);
    if (limited && input.minimum > value) {
        if (!input.below)
            signalled += spell("min_pass %zu %g\n", number, value);
        errors += spell(" min=%d", input.below ? 0 : 1);
        input.below = true;
    } else if (value > input.minimum + input.hysteresis) {
        input.below = false;
    }
    if (limited && value > input.maximum) {
        if (!input.above)
            signalled += spell("max_pass %zu %g\n", number, value);
        errors += spell(" max=%d", input.above ? 0 : 1);
        input.above = true;
    } else if (input.maximum - input.hysteresis > value) {
        input.above = false;
    }
    const bool changed = std::fabs(input.reported - value) > input.hysteresis;
    errors += changed ? " Changed\n" : " !Changed\n";
    if (changed) {
        signalled += spell("val_changed %zu %g 0\n", number, value);
        input.reported = value;
    }
    input.value = value;
    return true;
}

bool Daemon_model::refuse(const Message& message)
{
    errors += spell("Unhandled id=%d len=%zu\n", message[0], message.size());
    return false;
}

bool Daemon_model::is_long_enough(const Message& message, std::size_t size)
{
    return message.size() >= size || refuse(message);
}
