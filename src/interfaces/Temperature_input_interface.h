#pragma once

#include "Analog_input_interface.h"

/// One temperature, at "device/io/input/temperature/" and its channel.
///
/// Source  0x28, temperature of the channel.
/// Value   whole degrees Celsius
class Temperature_input_interface : public Analog_input_interface {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.io.input.temperature")
public:
    /// `channel` is 0 to 5; an object of any other takes no message.
    Temperature_input_interface(DBus_daemon* owner, const QString& relative_path, uint channel);

    bool handle_message(const uchar* data, uint len) override;

private:
    uint channel_;
};
