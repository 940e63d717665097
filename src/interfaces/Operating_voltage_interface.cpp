#include "Operating_voltage_interface.h"

#include "Console.h"
#include "Message_id.h"

Operating_voltage_interface::Operating_voltage_interface(DBus_daemon* owner,
                                                         const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

bool Operating_voltage_interface::handle_message(const uchar* data, uint len)
{
    constexpr uint traced = 8;
    if (len < traced || data[0] != Message_id::operating_voltage_report)
        return refuse(data, len);
    Console::out()
        .bytes("OPVOLT IN: ", Byte_style::lower_spaced, data, traced)
        .format(": %d\n", int{data[1]});
    value_ = data[1];
    return true;
}

void Operating_voltage_interface::set_operating_voltage(uint val)
{
    send_traced("OPVOLT SET: ", message(Message_id::operating_voltage, val));
    value_ = val;
}

void Operating_voltage_interface::get_operating_voltage(uint& val)
{
    val = value_;
}
