#pragma once

#include "Interface_base.h"

/// One digital input of the controller, at "device/io/input/digital/" and its channel.
///
/// Source  0x36 and 0x10, inputs: the bit of the channel's number.
/// Value   on or off; off until the first message.
class Digital_input_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.io.input.digital")
public:
    /// `channel` is 0 to 3.
    Digital_input_interface(DBus_daemon* owner, const QString& relative_path, uint channel);

    bool handle_message(const uchar* data, uint len) override;

public Q_SLOTS:
    void is_on(bool& res);

Q_SIGNALS:
    /// The input has changed.
    void changed(bool ret);

private:
    void report_unchanged(uchar id) const;

    bool on_ = false;
    uint channel_;
};
