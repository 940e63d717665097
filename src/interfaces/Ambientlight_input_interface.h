#pragma once

#include "Analog_input_interface.h"

/// The ambient light, at "device/io/input/ambientlight/0".
///
/// Source  light in 0x36 and 0x20, volts.
/// Value   percent of full_light_volts, at most 100.
class Ambientlight_input_interface : public Analog_input_interface {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.io.input.ambientlight")
public:
    Ambientlight_input_interface(DBus_daemon* owner, const QString& relative_path);

    bool handle_message(const uchar* data, uint len) override;
};
