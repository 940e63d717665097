#pragma once

#include <QString>

#include <termios.h>

/// The real serial device, raw and never blocking.
class Serial_device {
public:
    Serial_device() = default;
    ~Serial_device() { close(); }
    Serial_device(const Serial_device&) = delete;
    Serial_device& operator=(const Serial_device&) = delete;

    /// Opens it. Returns an error's text, "PATH: why", or nothing.
    QString open(const QString& path);

    /// Gives it its settings back, as far as it is still there, and closes it.
    void close();

    bool is_open() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }

    /// As they were found.
    const termios& found() const { return found_; }

    /// Takes over what a host has set: speeds, stop bits, flow control, and whether closing drops
    /// the modem lines. A pseudo terminal always has eight bits without parity, so these have them.
    void follow(const termios& host);

    /// Raises or drops DTR and RTS, as opening and closing a device does; nothing without them.
    void set_modem_lines(bool high);

    /// The speed in bits per second of a code of termios; 0 for one that has no number.
    static uint rate_of(speed_t code);

private:
    int descriptor_ = -1;
    termios found_{};
    termios working_{};
};
