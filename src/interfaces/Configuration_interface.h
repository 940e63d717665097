#pragma once

#include "Codes.h"
#include "Interface_base.h"
#include "Object_kind.h"

/// One byte of the controller's configuration, by OEM code and offset, at "configuration".
///
/// Command  0x2d: OEM code, offset, value, write or read.
/// Source   0x2e: OEM code, offset, value.
/// Value    as reported last; 255, 255, 255 until then.
class Configuration_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.configuration")
public:
    Configuration_interface(DBus_daemon* owner, const QString& relative_path);

    bool handle_message(const uchar* data, uint len) override;

public Q_SLOTS:
    /// Asks the controller to write a byte.
    void set(uchar oem_code, uchar offset, uchar value);
    /// Asks the controller to report a byte.
    void query(uchar oem_code, uchar offset);
    void get(unsigned char& oem_code, unsigned char& offset, unsigned char& value);

private:
    void request(uchar oem_code, uchar offset, uchar value, Configuration_access access) const;

    uchar oem_code_ = no_byte;
    uchar offset_ = no_byte;
    uchar value_ = no_byte;
};
