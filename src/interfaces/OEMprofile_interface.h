#pragma once

#include "Interface_base.h"
#include "Object_kind.h"

/// The OEM code in force in the controller, at "oem_profile".
///
/// Command  0x3d: the code.
/// Source   0x3e: the code.
/// Value    as reported last; 255 until then.
class OEMprofile_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.oem_profile")
public:
    OEMprofile_interface(DBus_daemon* owner, const QString& relative_path);

    bool handle_message(const uchar* data, uint len) override;

public Q_SLOTS:
    void get_code(unsigned char& code);
    /// Asks the controller to take the code.
    void set_code(uchar code);

private:
    uchar code_ = no_byte;
};
