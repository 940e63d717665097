#pragma once

#include "Interface_base.h"

/// The power lock, at "power/lock": an interface that clients may bind to. Every call is reported
/// on standard output as not implemented and does nothing.
class Lock_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.power.lock")
public:
    Lock_interface(DBus_daemon* owner, const QString& relative_path);

public Q_SLOTS:
    void set_hold(bool val);
    void hold();
    void release();
    /// Leaves the output as it is: false on the bus.
    void is_hold(bool& res);

Q_SIGNALS:
    /// Part of the interface; never emitted.
    void changed(bool ret);
};
