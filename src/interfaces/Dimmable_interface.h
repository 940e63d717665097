#pragma once

#include "Interface_base.h"

/// A device that can be dimmed, at "multi_led/" and its index, and the base of the backlight.
///
/// Here it keeps a brightness, 0.0, and cannot set one: a request is reported on standard output
/// and dropped.
class Dimmable_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.dimmable")
public:
    Dimmable_interface(DBus_daemon* owner, const QString& relative_path);

public Q_SLOTS:
    void set_brightness(double val);
    void get_brightness(double& val);

Q_SIGNALS:
    /// Part of the interface; never emitted.
    void brightness_changed(uchar val);

protected:
    /// For a derived class, which starts with another brightness and registers itself.
    Dimmable_interface(DBus_daemon* owner, const QString& relative_path, double brightness);

    /// Sets the brightness of the device, which the class at hand decides.
    virtual void apply_brightness(double val);

    void store_brightness(double val) { brightness_ = val; }

private:
    double brightness_;
};
