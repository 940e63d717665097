#pragma once

#include "Threaded_serial_port.h"

/// The port of a camera switch. Never opened: the switch and its protocol are not part of this
/// system.
class Camera_port_interface : public Threaded_serial_port {
    Q_OBJECT
public:
    /// The packet length of the switch's protocol: 0.
    uint packet_length() const;
};
