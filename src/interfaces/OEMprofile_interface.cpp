#include "OEMprofile_interface.h"

#include "DBus_daemon.h"
#include "Message_id.h"

OEMprofile_interface::OEMprofile_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

bool OEMprofile_interface::handle_message(const uchar* data, uint len)
{
    if (len < 2 || data[0] != Message_id::oem_code_report)
        return refuse(data, len);
    code_ = data[1];
    owner()->log() << "OEM code was set to " << int{code_} << std::endl;
    return true;
}

void OEMprofile_interface::get_code(unsigned char& code)
{
    code = code_;
}

void OEMprofile_interface::set_code(uchar code)
{
    send(message(Message_id::oem_code, code));
    owner()->log() << "Requested OEM code " << int{code} << std::endl;
}
