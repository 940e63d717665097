#include "Configuration_interface.h"

#include "DBus_daemon.h"
#include "Message_id.h"

namespace {

constexpr uchar action_write = 0xAA;
constexpr uchar action_read = 0x55;

} // namespace

Configuration_interface::Configuration_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

bool Configuration_interface::handle_message(const uchar* data, uint len)
{
    if (len < 4 || data[0] != Message_id::configuration_report)
        return refuse(data, len);
    owner()->log() << "Configuration was set" << std::endl;
    oem_code_ = static_cast<uchar>(data[1] - 1);
    offset_ = data[2];
    value_ = data[3];
    return true;
}

void Configuration_interface::set(uchar oem_code, uchar offset, uchar value)
{
    request(oem_code, offset, value, action_write);
}

void Configuration_interface::query(uchar oem_code, uchar offset)
{
    request(oem_code, offset, 0, action_read);
}

void Configuration_interface::get(unsigned char& oem_code, unsigned char& offset,
                                  unsigned char& value)
{
    oem_code = oem_code_;
    offset = offset_;
    value = value_;
}

/// Logs the code as it goes on the line, one more, and a read like a write, deliberately.
void Configuration_interface::request(uchar oem_code, uchar offset, uchar value, uchar action) const
{
    send(message(Message_id::configuration, oem_code + 1, offset, value, action, 0x01));
    owner()->log() << "Set Configuration for OEM code " << oem_code + 1 << std::endl;
}
