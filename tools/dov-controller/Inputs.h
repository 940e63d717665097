#pragma once

#include "Waveform.h"

#include <QByteArray>

#include <array>

/// One measured input of the controller.
struct Input_kind {
    const char* name;
    const char* unit;
    double least; ///< what the messages can carry
    double most;
    Waveform at_start;
};

/// The inputs, grouped; the position of the first of each group.
namespace Input {
enum : int {
    digital = 0,
    analog = 4,
    light = 5,
    frequency = 6,
    voltage = 7,
    temperature = 13,
    count = 19,
};
} // namespace Input

/// All inputs, in the order of Input.
const std::array<Input_kind, Input::count>& input_kinds();

/// The position of an input by name, or -1.
int input_position(const QByteArray& name);
