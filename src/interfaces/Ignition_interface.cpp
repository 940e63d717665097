#include "Ignition_interface.h"

#include "Message_id.h"

Ignition_interface::Ignition_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

bool Ignition_interface::handle_message(const uchar* data, uint len)
{
    if (len < 5 || data[0] != Message_id::power_response)
        return refuse(data, len);
    mode_ = data[1];
    const bool on = data[4] != 0;
    if (on != on_) {
        on_ = on;
        Q_EMIT changed(on);
    }
    return true;
}

void Ignition_interface::is_on(bool& res)
{
    res = on_;
}

void Ignition_interface::get_mode(unsigned char& mode)
{
    mode = mode_;
}
