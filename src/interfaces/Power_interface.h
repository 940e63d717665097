#pragma once

#include "Interface_base.h"

/// One switchable power device, at its path.
///
/// Suspended in the power states whose bit is clear in its power mask, resumed in the others.
/// Two kinds act when switched, each time and whatever they were: the system switches the terminal
/// off when suspended, the display backlight commands the controller. The others only remember.
///
/// Command  0x0b: the display backlight on or off. Sent twice.
class Power_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.power")
public:
    enum Kind : int {
        kind_system = 0,
        kind_backlight = 3,
    };

    /// `kind` is the number of the device among the controller's power switches, 0 to 12.
    Power_interface(DBus_daemon* owner, const QString& relative_path, int kind,
                    const char* power_name);

    int kind() const { return kind_; }

    void power_state_changed(int state) override;

public Q_SLOTS:
    /// The output is always 0.
    void suspend(int& val);
    void resume();
    void is_suspended(bool& ret);

Q_SIGNALS:
    /// Part of the interface; never emitted.
    void suspend_changed(bool val);

private:
    void set_suspend(bool suspend);
    void switch_system(bool suspend);
    void switch_backlight(bool suspend);

    bool suspended_ = false;
    int kind_;
};
