#pragma once

#include "Interface_base.h"
#include "Object_kind.h"

/// The ignition, at "power/ignition".
///
/// Source  0x06: line-15 mode and ignition.
/// Value   on until the first message; mode 255 until then.
class Ignition_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.power.ignition")
public:
    Ignition_interface(DBus_daemon* owner, const QString& relative_path);

    bool handle_message(const uchar* data, uint len) override;

public Q_SLOTS:
    void is_on(bool& res);
    /// The line-15 mode as the controller numbers it.
    void get_mode(unsigned char& mode);

Q_SIGNALS:
    void changed(bool ret);

private:
    bool on_ = true;
    uchar mode_ = no_byte;
};
