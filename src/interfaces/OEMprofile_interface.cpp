#include "OEMprofile_interface.h"

#include "DBus_daemon.h"
#include "Named_field.h"

namespace {

constexpr U8_field wanted_code = {Message_id::oem_code, "code"};
constexpr U8_field code_in_force = {Message_id::oem_code_report, "code"};

} // namespace

OEMprofile_interface::OEMprofile_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

bool OEMprofile_interface::handle_message(const uchar* data, uint len)
{
    const auto code = code_in_force.read(data, len);
    if (!code)
        return refuse(data, len);
    code_ = *code;
    owner()->log() << "OEM code was set to " << int{code_} << std::endl;
    return true;
}

void OEMprofile_interface::get_code(unsigned char& code)
{
    code = code_;
}

void OEMprofile_interface::set_code(uchar code)
{
    send(message_with(wanted_code.is(code)));
    owner()->log() << "Requested OEM code " << int{code} << std::endl;
}
