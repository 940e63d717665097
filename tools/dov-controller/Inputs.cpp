#include "Inputs.h"

#include <algorithm>

namespace {

using Shape = Waveform::Shape;

Waveform wave(Shape shape, double low, double high, qint64 period_ms)
{
    return Waveform::periodic(shape, low, high, period_ms);
}

} // namespace

const std::array<Input_kind, Input::count>& input_kinds()
{
    constexpr double millivolts_most = 65535;
    const char* const millivolts = "mV";
    const char* const degrees = "degrees Celsius";
    // At the start everything moves, so that a host has something to show.
    static const std::array<Input_kind, Input::count> kinds = {{
        {"digital0", "", 0, 1, wave(Shape::square, 0, 1, 2000)},
        {"digital1", "", 0, 1, wave(Shape::square, 0, 1, 5000)},
        {"digital2", "", 0, 1, wave(Shape::square, 0, 1, 11000)},
        {"digital3", "", 0, 1, Waveform::random(0, 1, 3000, 1)},
        {"analog", millivolts, 0, millivolts_most, wave(Shape::sine, 500, 4500, 10000)},
        {"light", millivolts, 0, millivolts_most, wave(Shape::triangle, 0, 4995, 30000)},
        {"frequency", "", 0, 65535, wave(Shape::ramp, 0, 1000, 20000)},
        {"voltage0", millivolts, 0, millivolts_most, wave(Shape::sine, 23500, 28500, 30000)},
        {"voltage1", millivolts, 0, millivolts_most, wave(Shape::triangle, 11800, 14400, 40000)},
        {"voltage2", millivolts, 0, millivolts_most, Waveform::random(4950, 5050, 1000, 2)},
        {"voltage3", millivolts, 0, millivolts_most, Waveform::random(3270, 3330, 1000, 3)},
        {"voltage4", millivolts, 0, millivolts_most, Waveform::random(1780, 1820, 1000, 4)},
        {"voltage5", millivolts, 0, millivolts_most, wave(Shape::sine, 2900, 3100, 60000)},
        {"temperature0", degrees, -128, 127, wave(Shape::sine, 30, 55, 60000)},
        {"temperature1", degrees, -128, 127, wave(Shape::triangle, 25, 45, 45000)},
        {"temperature2", degrees, -128, 127, Waveform::random(38, 42, 2000, 5)},
        {"temperature3", degrees, -128, 127, wave(Shape::sine, -10, 10, 50000)},
        {"temperature4", degrees, -128, 127, wave(Shape::triangle, 20, 30, 25000)},
        {"temperature5", degrees, -128, 127, Waveform::constant(21)},
    }};
    return kinds;
}

int input_position(const QByteArray& name)
{
    const auto& kinds = input_kinds();
    const auto found = std::find_if(kinds.begin(), kinds.end(),
                                    [&name](const Input_kind& kind) { return name == kind.name; });
    return found == kinds.end() ? -1 : static_cast<int>(found - kinds.begin());
}
