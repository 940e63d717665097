#pragma once

#include "Message.h"

/// What the simulated controller reports at each tick and answers to an output command.
/// Pure functions.

/// The digest at tick `t`: square waves on the digital inputs (bits 3, 4, 7 and 10 of the tick), a
/// sine of 126 +- 126 in the high byte of the analog input, a triangle in the high byte of the
/// light, 128 in both low bytes, no frequency.
Message simulated_digest(quint32 t);

/// The four output states after a command whose field byte holds two bits an output: 1 off, 2 on,
/// 0 and 3 as it was.
std::array<bool, 4> switched_outputs(std::array<bool, 4> outputs, uchar fields);

/// The field byte that reports the outputs: 1 off, 2 on.
uchar output_report(const std::array<bool, 4>& outputs);
