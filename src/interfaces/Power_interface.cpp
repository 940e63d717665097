#include "Power_interface.h"

#include "DBus_daemon.h"
#include "Named_field.h"
#include "Paths.h"
#include "Shell.h"

#include <QThread>

namespace {

constexpr Flag_field power_switch = {Message_id::power_switch, "switch"};
constexpr U8_field power_device = {Message_id::power_switch, "device"};

constexpr unsigned long between_commands_us = 300;

const char* on_off(bool suspend)
{
    return suspend ? "OFF" : "ON";
}

} // namespace

Power_interface::Power_interface(DBus_daemon* owner, const QString& relative_path, int kind,
                                 const char* power_name)
    : Interface_base(owner, relative_path, power_name), kind_(kind)
{
    register_object();
}

void Power_interface::power_state_changed(int state)
{
    set_suspend(!is_powered_in(state));
}

void Power_interface::suspend(int& val)
{
    val = 0;
    set_suspend(true);
}

void Power_interface::resume()
{
    set_suspend(false);
}

void Power_interface::is_suspended(bool& ret)
{
    ret = suspended_;
}

void Power_interface::set_suspend(bool suspend)
{
    suspended_ = suspend;
    if (kind_ == kind_system)
        switch_system(suspend);
    else if (kind_ == kind_backlight)
        switch_backlight(suspend);
}

void Power_interface::switch_system(bool suspend)
{
    owner()->log() << "System => " << on_off(suspend) << std::endl;
    if (suspend)
        run_in_shell(paths().poweroff);
}

void Power_interface::switch_backlight(bool suspend)
{
    owner()->log() << "Display backlight => " << on_off(suspend) << std::endl;
    const Message command =
        message_with(power_switch.is(!suspend), power_device.is(display_backlight_device));
    send(command);
    QThread::usleep(between_commands_us);
    send(command); // nothing repeats a command that the controller has missed
}
