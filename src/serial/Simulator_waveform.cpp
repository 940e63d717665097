#include "Simulator_waveform.h"

#include "Message_id.h"

#include <cmath>

namespace {

constexpr quint32 bit(quint32 value, int number)
{
    return value >> number & 1;
}

} // namespace

Message simulated_digest(quint32 t)
{
    const quint32 digital = bit(t, 3) | bit(t, 4) << 1 | bit(t, 7) << 2 | bit(t, 10) << 3;
    const auto sine = static_cast<int>(126 + 126 * std::sin(t / 100.0));
    const quint32 triangle = bit(t, 7) != 0 ? ~t & 0xFF : t & 127;
    return message(Message_id::digest, digital, sine, 128, triangle, 128);
}

std::array<bool, 4> switched_outputs(std::array<bool, 4> outputs, uchar fields)
{
    for (uint i = 0; i < outputs.size(); ++i) {
        const int field = fields >> 2 * i & 3;
        if (field == 1 || field == 2)
            outputs[i] = field == 2;
    }
    return outputs;
}

uchar output_report(const std::array<bool, 4>& outputs)
{
    uint fields = 0;
    for (uint i = 0; i < outputs.size(); ++i)
        fields |= (outputs[i] ? 2U : 1U) << 2 * i;
    return static_cast<uchar>(fields);
}
