#include "Ignition_interface.h"

#include "Named_field.h"

namespace {

constexpr U8_field line_15_mode = {Message_id::power_response, "line_15_mode"};
constexpr Flag_field ignition = {Message_id::power_response, "ignition"};

} // namespace

Ignition_interface::Ignition_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

bool Ignition_interface::handle_message(const uchar* data, uint len)
{
    const auto mode = line_15_mode.read(data, len);
    const auto on = ignition.read(data, len);
    if (!mode || !on)
        return refuse(data, len);
    mode_ = *mode;
    if (*on != on_) {
        on_ = *on;
        Q_EMIT changed(on_);
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
