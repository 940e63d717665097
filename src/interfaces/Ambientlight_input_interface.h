#pragma once

#include "Analog_input_interface.h"

/// The ambient light, at "device/io/input/ambientlight/0".
///
/// Source  0x36 bytes 4-5 and 0x20 bytes 1-2: unsigned, high byte first, millivolts.
/// Value   percent of 4.995 volts, at most 100
class Ambientlight_input_interface : public Analog_input_interface {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.io.input.ambientlight")
public:
    Ambientlight_input_interface(DBus_daemon* owner, const QString& relative_path);

    bool handle_message(const uchar* data, uint len) override;
};
