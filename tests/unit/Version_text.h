#pragma once

#include "Captured_console.h"
#include "Objects.h"
#include "Version_interface.h"

#include <unistd.h>

/// The text of a version, as the bus has it.
inline QString text_of(Version_interface& version)
{
    const Captured_descriptor output(STDOUT_FILENO);
    return output_of(version, &Version_interface::get);
}
