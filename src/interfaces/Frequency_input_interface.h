#pragma once

#include "Interface_base.h"
#include "Reported_number.h"

/// Frequency input 0 of the controller, at "device/io/input/frequency/0".
///
/// Source  frequency in 0x36, as the controller counts it.
/// Value   the same number; -1000000.0 until the first message.
///
/// Reports changes and re-reports as the analog input does, and has no limits.
class Frequency_input_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.io.input.frequency")
public:
    Frequency_input_interface(DBus_daemon* owner, const QString& relative_path);

    bool handle_message(const uchar* data, uint len) override;

public Q_SLOTS:
    /// Reports the value again.
    void handle_timeout();
    void get_value(double& val);
    void set_hysteresis(double val);
    void get_hysteresis(double& val);
    /// In milliseconds, at least 130, or 0 for never.
    void set_time_out(uint val);
    void get_time_out(uint& val);

Q_SIGNALS:
    /// The value, because it has changed or because the time-out has passed.
    void val_changed(double val, bool timeout);

private:
    Reported_number number_;
};
