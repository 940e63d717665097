#include "Inputs.h"

#include "Field_catalogue.h"

#include <algorithm>

namespace {

using Shape = Waveform::Shape;

Waveform wave(Shape shape, double low, double high, qint64 period_ms)
{
    return Waveform::periodic(shape, low, high, period_ms);
}

/// An input that is a field of its own: in the field's range, and in its unit on the line.
Input_kind measured(uchar id, const char* name, const Waveform& at_start)
{
    const Field& field = *find_field(id, name);
    const Unit& unit = field.unit;
    return {field.name, unit.on_the_line[0] != '\0' ? unit.on_the_line : unit.name,
            static_cast<double>(field.least), static_cast<double>(field.most), at_start};
}

} // namespace

const std::array<Input_kind, Input::count>& input_kinds()
{
    // At the start everything moves, so that a host has something to show.
    using namespace Message_id;
    static const std::array<Input_kind, Input::count> kinds = {{
        {"digital0", "", 0, 1, wave(Shape::square, 0, 1, 2000)},
        {"digital1", "", 0, 1, wave(Shape::square, 0, 1, 5000)},
        {"digital2", "", 0, 1, wave(Shape::square, 0, 1, 11000)},
        {"digital3", "", 0, 1, Waveform::random(0, 1, 3000, 1)},
        measured(digest, "analog", wave(Shape::sine, 500, 4500, 10000)),
        measured(digest, "light", wave(Shape::triangle, 0, 4995, 30000)),
        measured(digest, "frequency", wave(Shape::ramp, 0, 1000, 20000)),
        measured(voltages_low, "voltage0", wave(Shape::sine, 23500, 28500, 30000)),
        measured(voltages_low, "voltage1", wave(Shape::triangle, 11800, 14400, 40000)),
        measured(voltages_low, "voltage2", Waveform::random(4950, 5050, 1000, 2)),
        measured(voltages_high, "voltage3", Waveform::random(3270, 3330, 1000, 3)),
        measured(voltages_high, "voltage4", Waveform::random(1780, 1820, 1000, 4)),
        measured(voltages_high, "voltage5", wave(Shape::sine, 2900, 3100, 60000)),
        measured(temperatures, "temperature0", wave(Shape::sine, 30, 55, 60000)),
        measured(temperatures, "temperature1", wave(Shape::triangle, 25, 45, 45000)),
        measured(temperatures, "temperature2", Waveform::random(38, 42, 2000, 5)),
        measured(temperatures, "temperature3", wave(Shape::sine, -10, 10, 50000)),
        measured(temperatures, "temperature4", wave(Shape::triangle, 20, 30, 25000)),
        measured(temperatures, "temperature5", Waveform::constant(21)),
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
