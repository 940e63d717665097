#include "Simulator_waveform.h"

#include "Codes.h"
#include "Named_field.h"

#include <cmath>

namespace {

constexpr U8_field inputs = {Message_id::digest, "inputs"};
constexpr U16_field analog = {Message_id::digest, "analog"};
constexpr U16_field light = {Message_id::digest, "light"};

constexpr bool bit(quint32 value, int number)
{
    return (value >> number & 1) != 0;
}

/// Two bytes as the simulator makes them up one by one, the high one first.
constexpr quint32 two_bytes(quint32 high, quint32 low)
{
    return high << 8 | low;
}

} // namespace

Message simulated_digest(quint32 t)
{
    const int digital = input_bits(bit(t, 3), 0) | input_bits(bit(t, 4), 1) |
                        input_bits(bit(t, 7), 2) | input_bits(bit(t, 10), 3);
    const auto sine = static_cast<quint32>(126 + 126 * std::sin(t / 100.0));
    const quint32 triangle = bit(t, 7) ? ~t & 0xFF : t & 127;
    return message_with(inputs.is(digital), analog.is(two_bytes(sine, 128)),
                        light.is(two_bytes(triangle, 128)));
}

std::array<bool, 4> switched_outputs(std::array<bool, 4> outputs, uchar fields)
{
    for (uint i = 0; i < outputs.size(); ++i) {
        const Output_code code = output_code(fields, i);
        if (code == Output_code::off || code == Output_code::on)
            outputs[i] = code == Output_code::on;
    }
    return outputs;
}

uchar output_report(const std::array<bool, 4>& outputs)
{
    uint fields = 0;
    for (uint i = 0; i < outputs.size(); ++i)
        fields |= output_bits(output_code_of(outputs[i], true), i);
    return static_cast<uchar>(fields);
}
