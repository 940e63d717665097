#pragma once

#include "Controller_model.h"

#include <QString>

/// A controller's state as the commands that bring it about, one a line; the inputs left out.
QString state_as_commands(const Controller_state& state);
