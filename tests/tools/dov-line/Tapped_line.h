#pragma once

#include "Pseudo_terminal.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <optional>

#include <termios.h>

/// Both ends of a line that a tap stands in: a device that can be pulled out and plugged in again,
/// and what its host opens.
class Tapped_line {
public:
    Tapped_line() { plug_in(); }
    ~Tapped_line();
    Tapped_line(const Tapped_line&) = delete;
    Tapped_line& operator=(const Tapped_line&) = delete;

    QString path(const char* name) const { return directory_.filePath(QLatin1String(name)); }
    QString device() const { return path("device"); }
    QString link() const { return path("link"); }

    /// The device goes, and comes back under its name.
    void pull_out();
    void plug_in();

    /// Opens and closes the host's end, as a program does that sets it raw.
    bool open_host();
    void close_host();

    int controller() const { return terminal_ ? terminal_->own() : -1; }
    int host() const { return host_; }

    /// The settings of the device.
    termios device_settings() const;

    /// Whether the host sees a hang-up.
    bool host_is_hung_up() const;

    /// Sends bytes; from the controller's end, or from the host's.
    void send_from_controller(const QByteArray& bytes) const { send(controller(), bytes); }
    void send_from_host(const QByteArray& bytes) const { send(host_, bytes); }

    /// Waits for so many bytes at an end and returns them; fewer when they do not come.
    QByteArray controller_hears(int count) const { return receive(controller(), count); }
    QByteArray host_hears(int count) const { return receive(host_, count); }

private:
    static void send(int end, const QByteArray& bytes);
    static QByteArray receive(int end, int count);

    QTemporaryDir directory_;
    std::optional<Pseudo_terminal> terminal_;
    int host_ = -1;
};
