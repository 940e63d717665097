#pragma once

#include "Interface_base.h"

/// The frequency output, at "device/io/output/frequency/0".
///
/// Command  0x29: the low 16 bits of the value.
/// Source   0x2a, taken and not read.
/// State    the value as last set, in the controller's units; 0 is commanded when created.
class Radar_output_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.io.output.frequency")
public:
    Radar_output_interface(DBus_daemon* owner, const QString& relative_path);

    /// As last set, whole; no method of the bus tells it.
    uint value() const { return value_; }

    bool handle_message(const uchar* data, uint len) override;

public Q_SLOTS:
    void set(uint val);

Q_SIGNALS:
    /// Part of the interface; never emitted.
    void changed(uint val);

private:
    uint value_ = 0;
};
