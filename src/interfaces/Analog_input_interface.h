#pragma once

#include "Interface_base.h"
#include "Object_kind.h"
#include "Reported_number.h"

/// Analog input 0 of the controller, at "device/io/input/analog/0", and the base of the inputs
/// that report a number in the same way.
///
/// Source  analog in 0x36 and 0x1e.
/// Value   volts; -1000000.0 until the first message.
///
/// A change is reported when the value is further than the hysteresis from the one reported last.
/// The starting hysteresis of 1000000.0 lets the first positive value be reported, and none after
/// it until a client sets a smaller one. A limit that is passed is reported once, and again only
/// after the value has come back by more than the hysteresis. A NaN as hysteresis or limit
/// compares false with everything: nothing is reported for it.
class Analog_input_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.io.input.analog")
public:
    /// Registers on the bus only when told to, so that a derived class registers once, as itself.
    Analog_input_interface(DBus_daemon* owner, const QString& relative_path, bool registers);

    bool handle_message(const uchar* data, uint len) override;

public Q_SLOTS:
    /// Reports the value again.
    void handle_timeout();
    void get_value(double& val);
    void set_hysteresis(double val);
    void get_hysteresis(double& val);
    void set_max_value(double val);
    void get_max_value(double& val);
    void set_min_value(double val);
    void get_min_value(double& val);
    /// The period, in milliseconds, in which the value is reported again when no change is; at
    /// least 130, or 0 for never.
    void set_time_out(uint val);
    void get_time_out(uint& val);

Q_SIGNALS:
    /// The value, because it has changed or because the time-out has passed.
    void val_changed(double val, bool timeout);
    /// The value has fallen below the lower limit.
    void min_pass(double val);
    /// The value has risen above the upper limit.
    void max_pass(double val);

protected:
    /// Takes a new value in the input's unit; always true.
    bool update(double value);

    /// Writes `label`, the message and the raw value in volts to standard output.
    static void trace_raw(std::string_view label, const uchar* data, uint len, double volts);

private:
    void check_minimum(double value);
    void check_maximum(double value);

    Reported_number number_;
    double min_value_ = start_min_value;
    bool below_min_ = false; ///< reported
    double max_value_ = start_max_value;
    bool above_max_ = false; ///< reported
};
