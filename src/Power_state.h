#pragma once

/// The terminal's power states, by number.
enum Power_state : int {
    state_on = 0,
    state_low_power = 1,
    state_sleep = 2,
    state_none = 3, ///< before the first switch; any number that is no state means the same
};

constexpr int power_state_count = 3;

/// "on", "low-power" or "sleep"; "null" for any other number.
const char* power_state_name(int state);

/// How long a state lasts when the configuration does not say, in seconds: -1, 100, 100.
constexpr int default_state_timeouts[power_state_count] = {-1, 100, 100};
