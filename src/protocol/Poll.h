#pragma once

#include "Message_id.h"

// What the host asks for again and again.

/// How often, in milliseconds.
constexpr int poll_period_ms = 3000;

/// The values that the controller does not push by itself, in the order of asking.
inline constexpr uchar polled_requests[] = {
    Message_id::power_button_poll,
    Message_id::voltages_low_poll,
    Message_id::voltages_high_poll,
    Message_id::temperatures_poll,
};

/// Asked for behind them until they have been told.
inline constexpr uchar version_requests[] = {
    Message_id::unique_id_request,
    Message_id::hardware_version_request,
    Message_id::firmware_version_request,
};
