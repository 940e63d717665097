#pragma once

#include "Analog_input_interface.h"

/// One supply voltage, at "device/io/input/voltage/" and its channel.
///
/// Source  0x22 for channels 0-2 and 0x24 for 3-5. The object takes both and does not tell them
///         apart: the dispatch does.
/// Value   volts
class Voltage_input_interface : public Analog_input_interface {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.io.input.voltage")
public:
    /// `channel` is 0 to 5; an object of any other takes no message.
    Voltage_input_interface(DBus_daemon* owner, const QString& relative_path, uint channel);

    bool handle_message(const uchar* data, uint len) override;

private:
    uint channel_;
};
