#include "Configuration_interface.h"

#include "DBus_daemon.h"
#include "Named_field.h"

namespace {

constexpr U8_field wanted_oem_code = {Message_id::configuration, "oem_code"};
constexpr U8_field wanted_offset = {Message_id::configuration, "offset"};
constexpr U8_field wanted_value = {Message_id::configuration, "value"};
constexpr U8_field wanted_access = {Message_id::configuration, "access"};
constexpr U8_field told_oem_code = {Message_id::configuration_report, "oem_code"};
constexpr U8_field told_offset = {Message_id::configuration_report, "offset"};
constexpr U8_field told_value = {Message_id::configuration_report, "value"};

} // namespace

Configuration_interface::Configuration_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

bool Configuration_interface::handle_message(const uchar* data, uint len)
{
    const auto oem_code = told_oem_code.read(data, len);
    const auto offset = told_offset.read(data, len);
    const auto value = told_value.read(data, len);
    if (!oem_code || !offset || !value)
        return refuse(data, len);
    owner()->log() << "Configuration was set" << std::endl;
    oem_code_ = *oem_code;
    offset_ = *offset;
    value_ = *value;
    return true;
}

void Configuration_interface::set(uchar oem_code, uchar offset, uchar value)
{
    request(oem_code, offset, value, Configuration_access::write);
}

void Configuration_interface::query(uchar oem_code, uchar offset)
{
    request(oem_code, offset, 0, Configuration_access::read);
}

void Configuration_interface::get(unsigned char& oem_code, unsigned char& offset,
                                  unsigned char& value)
{
    oem_code = oem_code_;
    offset = offset_;
    value = value_;
}

/// Logs the code as it goes on the line, one more, so that the log can be held against the line;
/// and a read like a write, because both are one message.
void Configuration_interface::request(uchar oem_code, uchar offset, uchar value,
                                      Configuration_access access) const
{
    send(message_with(wanted_oem_code.is(oem_code), wanted_offset.is(offset),
                      wanted_value.is(value), wanted_access.is(access)));
    owner()->log() << "Set Configuration for OEM code " << oem_code + 1 << std::endl;
}
