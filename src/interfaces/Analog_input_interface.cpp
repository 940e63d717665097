#include "Analog_input_interface.h"

#include "Console.h"
#include "Named_field.h"

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
    Q_EMIT val_changed(number_.value(), true);
}

void Analog_input_interface::get_value(double& val)
{
    val = number_.value();
}

void Analog_input_interface::set_hysteresis(double val)
{
    number_.set_hysteresis(val);
}

void Analog_input_interface::get_hysteresis(double& val)
{
    val = number_.hysteresis();
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
    number_.set_time_out(val, this, &Analog_input_interface::handle_timeout);
}

void Analog_input_interface::get_time_out(uint& val)
{
    val = number_.time_out();
}

bool Analog_input_interface::update(double value)
{
    Reported_number::begin_update(value);
    check_minimum(value);
    check_maximum(value);
    number_.end_update(value, [this, value] { Q_EMIT val_changed(value, false); });
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
    } else if (value > min_value_ + number_.hysteresis()) {
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
    } else if (max_value_ - number_.hysteresis() > value) {
        above_max_ = false;
    }
}
