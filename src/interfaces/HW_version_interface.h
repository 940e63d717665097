#pragma once

#include "Version_interface.h"

/// The controller's hardware version, at "version/hardware".
///
/// Source  0x12: the revision.
/// Value   "v1.0" up to revision 10, "v1.1" up to 19, "v2.0" above; "No PC Comms" until the first
///         message.
class HW_version_interface : public Version_interface {
    Q_OBJECT
public:
    HW_version_interface(DBus_daemon* owner, const QString& path);

    bool handle_message(const uchar* data, uint len) override;
};
