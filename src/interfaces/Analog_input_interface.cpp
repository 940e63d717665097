#include "Analog_input_interface.h"

#include "Console.h"
#include "Named_field.h"

#include <cmath>

namespace {

constexpr U16_field digest_analog = {Message_id::digest, "analog"};
constexpr U16_field analog = {Message_id::analog_input, "analog"};

} // namespace

Analog_input_interface::Analog_input_interface(DBus_daemon* owner, const QString& relative_path,
                                               bool registers)
    : Interface_base(owner, relative_path, nullptr)
{
    if (registers)
        register_object();
}

bool Analog_input_interface::handle_message(const uchar* data, uint len)
{
    if (const auto volts = digest_analog.read_scaled(data, len))
        return update(*volts);
    if (const auto volts = analog.read_scaled(data, len)) {
        trace_raw("ARAW: ", data, len, *volts);
        return update(*volts);
    }
    return refuse(data, len);
}

void Analog_input_interface::handle_timeout()
{
    Q_EMIT val_changed(value_, true);
}

void Analog_input_interface::get_value(double& val)
{
    val = value_;
}

void Analog_input_interface::set_hysteresis(double val)
{
    hysteresis_ = val;
}

void Analog_input_interface::get_hysteresis(double& val)
{
    val = hysteresis_;
}

void Analog_input_interface::set_max_value(double val)
{
    max_value_ = val;
}

void Analog_input_interface::get_max_value(double& val)
{
    val = max_value_;
}

void Analog_input_interface::set_min_value(double val)
{
    min_value_ = val;
}

void Analog_input_interface::get_min_value(double& val)
{
    val = min_value_;
}

void Analog_input_interface::set_time_out(uint val)
{
    time_out_.set(val, this, &Analog_input_interface::handle_timeout);
}

void Analog_input_interface::get_time_out(uint& val)
{
    val = time_out_.period();
}

bool Analog_input_interface::update(double value)
{
    Console::err() << "Updated val=" << value;
    check_minimum(value);
    check_maximum(value);
    check_change(value);
    value_ = value;
    return true;
}

void Analog_input_interface::trace_raw(std::string_view label, const uchar* data, uint len,
                                       double volts)
{
    Console::out().bytes(label, Byte_style::upper_joined, data, len).format(": %.3f\n", volts);
}

void Analog_input_interface::check_minimum(double value)
{
    if (min_value_ > value) {
        if (!below_min_)
            Q_EMIT min_pass(value);
        Console::err() << " min=" << int{!below_min_};
        below_min_ = true;
    } else if (value > min_value_ + hysteresis_) {
        below_min_ = false;
    }
}

void Analog_input_interface::check_maximum(double value)
{
    if (value > max_value_) {
        if (!above_max_)
            Q_EMIT max_pass(value);
        Console::err() << " max=" << int{!above_max_};
        above_max_ = true;
    } else if (max_value_ - hysteresis_ > value) {
        above_max_ = false;
    }
}

void Analog_input_interface::check_change(double value)
{
    if (std::fabs(reported_ - value) > hysteresis_) {
        Console::err() << " Changed";
        Q_EMIT val_changed(value, false);
        reported_ = value;
        time_out_.restart();
    } else {
        Console::err() << " !Changed";
    }
    Console::err() << "\n";
}
