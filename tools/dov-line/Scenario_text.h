#pragma once

#include "Line_event.h"

#include <QStringList>

#include <vector>

/// What happened on the line as a scenario of the daemon's tests, a line for each thing that is
/// done or must come of it: the controller's messages, the calls on the bus that make the daemon
/// send its requests, and the requests.
///
/// What the daemon says of its own accord is left out, with the answers to it: its start, its poll
/// with what that finds out, and its end. A request that no call makes becomes a comment.
QStringList scenario_of(const std::vector<Line_event>& events);
