#pragma once

#include "Version_interface.h"

/// The controller's firmware version, at "version/bootloader".
///
/// Source  0x16: major, minor, patch.
/// Value   "v2.1.7"; "No PC Comms" until the first message.
class PC_version_interface : public Version_interface {
    Q_OBJECT
public:
    PC_version_interface(DBus_daemon* owner, const QString& path);

    /// Refuses other messages without a report.
    bool handle_message(const uchar* data, uint len) override;
};
