#pragma once

#include "Device_objects.h"

#include <QtGlobal>

/// Hands one message of the controller to the objects that its identifier concerns, in order,
/// until one of them is missing or refuses it. An identifier that concerns none, a message that
/// is too short and a refusal are reported on standard output. An empty message counts as one of
/// an unknown identifier. Thread: main.
void dispatch(const Device_objects& objects, const uchar* buf, uint len);
