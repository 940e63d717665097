#include "Digital_output_interface.h"

#include "Console.h"
#include "Message_id.h"

Message digital_output_command(bool value, bool enabled, uint channel)
{
    const Output_code code = !enabled ? Output_code::disabled
                             : value  ? Output_code::on
                                      : Output_code::off;
    const uint field = static_cast<uint>(code) << channel * 2;
    return message(Message_id::digital_outputs, field, field);
}

Output_code reported_output(uchar fields, uint channel)
{
    return static_cast<Output_code>(fields >> channel * 2 & 3);
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
    if (len < 3 || data[0] != Message_id::digital_outputs_report)
        return refuse(data, len);
    const Output_code code = reported_output(data[2], channel_);
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
