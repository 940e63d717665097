#pragma once

#include <QString>
#include <QtGlobal>

class DBus_daemon;
class Power_controller_interface;

/// One period of the poll: asks the controller for what it does not push, asks again for the
/// versions it has not told, and once they are known finds out its generation and brings its
/// settings in line: the line-15 mode of a legacy controller, the remote power-up delay of one
/// that keeps OEM profiles.
///
/// An object that is missing counts as one that does not know its value yet. Thread: main.
class Periodic_poll {
public:
    explicit Periodic_poll(DBus_daemon& daemon);

    void run();

private:
    /// The controller's versions as published.
    struct Versions {
        QString unique_id;
        QString hardware;
        QString firmware;
    };

    /// A byte of the controller's configuration.
    struct Configuration_byte {
        uchar oem_code;
        uchar offset;
        uchar value;
    };

    void send_polls();
    Versions read_versions() const;
    void request_missing(const Versions& versions);
    Configuration_byte configuration_byte(const Versions& versions);
    bool is_detection_due(const Versions& versions, const Configuration_byte& byte) const;
    void correct_line_15(bool legacy_firmware);
    void correct_power_up_delay(uchar current_delay);

    DBus_daemon& daemon_;
    Power_controller_interface& link_;
};
