#pragma once

#include "Interface_base.h"

/// The ATX acknowledgement, at "atx".
///
/// Command  0x3f, no arguments.
/// Source   0x40, no arguments read.
class ATX_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.atx")
public:
    ATX_interface(DBus_daemon* owner, const QString& relative_path);

    bool handle_message(const uchar* data, uint len) override;

public Q_SLOTS:
    void send_ack();

Q_SIGNALS:
    /// The controller has acknowledged.
    void received();
};
