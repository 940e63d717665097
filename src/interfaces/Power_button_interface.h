#pragma once

#include "Interface_base.h"

/// The power button, at "power/button".
///
/// Source  0x1c: whether it was pressed.
class Power_button_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.power.button")
public:
    Power_button_interface(DBus_daemon* owner, const QString& relative_path);

    bool handle_message(const uchar* data, uint len) override;

Q_SIGNALS:
    /// `val` is always 1.
    void short_press(int val);
};
