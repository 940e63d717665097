#pragma once

#include "Interface_base.h"
#include "Message.h"

/// The command for one output; the other channels' bits say nothing.
Message digital_output_command(bool value, bool enabled, uint channel);

/// One switched output, at "device/io/output/digital/" and its channel.
///
/// Command  0x33, outputs: two bits an output.
/// Source   0x34, outputs: two bits an output.
/// State    as last commanded or reported; commanded enabled and off when created.
class Digital_output_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.io.output.digital")
public:
    /// `channel` is 0 to 3.
    Digital_output_interface(DBus_daemon* owner, const QString& relative_path, uint channel);

    bool handle_message(const uchar* data, uint len) override;

public Q_SLOTS:
    void on();
    void off();
    /// Commands the level and whether the output is driven at all.
    void set(bool val, bool _enabled);
    void is_on(bool& res);
    void enable();
    void disable();
    void is_enabled(bool& res);

Q_SIGNALS:
    /// Part of the interface; never emitted.
    void changed(bool ret);

private:
    bool value_ = false;
    bool enabled_ = true;
    uint channel_;
};
