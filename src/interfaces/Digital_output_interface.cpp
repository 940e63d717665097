#include "Digital_output_interface.h"

#include "Console.h"
#include "Named_field.h"

namespace {

constexpr U8_field outputs = {Message_id::digital_outputs, "outputs"};
constexpr U8_field reported_outputs = {Message_id::digital_outputs_report, "outputs"};

} // namespace

Message digital_output_command(bool value, bool enabled, uint channel)
{
    return message_with(outputs.is(output_bits(output_code_of(value, enabled), channel)));
}

Digital_output_interface::Digital_output_interface(DBus_daemon* owner, const QString& relative_path,
                                                   uint channel)
    : Interface_base(owner, relative_path, nullptr), channel_(channel)
{
    register_object();
    set(false, true);
}

bool Digital_output_interface::handle_message(const uchar* data, uint len)
{
    const auto reported = reported_outputs.read(data, len);
    if (!reported)
        return refuse(data, len);
    const Output_code code = output_code(*reported, channel_);
    if (code == Output_code::no_information)
        return true;
    enabled_ = code != Output_code::disabled;
    if (enabled_)
        value_ = code == Output_code::on;
    return true;
}

void Digital_output_interface::on()
{
    set(true, enabled_);
}

void Digital_output_interface::off()
{
    set(false, enabled_);
}

void Digital_output_interface::set(bool val, bool _enabled)
{
    const Message command = digital_output_command(val, _enabled, channel_);
    send_traced("DOUTRAW: ", command);
    enabled_ = _enabled;
    value_ = val;
}

void Digital_output_interface::is_on(bool& res)
{
    res = value_;
}

void Digital_output_interface::enable()
{
    set(value_, true);
}

void Digital_output_interface::disable()
{
    set(value_, false);
}

void Digital_output_interface::is_enabled(bool& res)
{
    res = enabled_;
}
