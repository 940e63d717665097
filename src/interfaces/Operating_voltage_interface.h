#pragma once

#include "Interface_base.h"

/// The supply-voltage setting, at "device/operating_voltage".
///
/// Command  0x0d: the low 8 bits of the code.
/// Source   0x0e: the code.
/// State    the code as last set, whole, or reported, in the controller's units; 0 until then.
class Operating_voltage_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.operating_voltage")
public:
    Operating_voltage_interface(DBus_daemon* owner, const QString& relative_path);

    bool handle_message(const uchar* data, uint len) override;

public Q_SLOTS:
    void set_operating_voltage(uint val);
    void get_operating_voltage(uint& val);

private:
    uint value_ = 0;
};
