#include "Operating_voltage_interface.h"

#include "Console.h"
#include "Named_field.h"

namespace {

constexpr U8_field wanted_code = {Message_id::operating_voltage, "code"};
constexpr U8_field reported_code = {Message_id::operating_voltage_report, "code"};

} // namespace

Operating_voltage_interface::Operating_voltage_interface(DBus_daemon* owner,
                                                         const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

bool Operating_voltage_interface::handle_message(const uchar* data, uint len)
{
    const auto code = reported_code.read(data, len);
    if (!code || len < message_size)
        return refuse(data, len);
    Console::out()
        .bytes("OPVOLT IN: ", Byte_style::lower_spaced, data, message_size)
        .format(": %d\n", int{*code});
    value_ = *code;
    return true;
}

void Operating_voltage_interface::set_operating_voltage(uint val)
{
    send_traced("OPVOLT SET: ", message_with(wanted_code.is(val)));
    value_ = val;
}

void Operating_voltage_interface::get_operating_voltage(uint& val)
{
    val = value_;
}
