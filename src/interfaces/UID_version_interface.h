#pragma once

#include "Version_interface.h"

/// The controller's unique device identifier, at "version/unique_device_id".
///
/// Source  0x1a: seven bytes.
/// Value   14 upper-case hexadecimal digits; "No PC Comms" until the first message.
class UID_version_interface : public Version_interface {
    Q_OBJECT
public:
    UID_version_interface(DBus_daemon* owner, const QString& path);

    /// Refuses other messages without a report.
    bool handle_message(const uchar* data, uint len) override;
};
