#pragma once

#include <QtGlobal>

#include <memory>

#include <termios.h>

/// All settings of a serial port at once.
struct Serial_settings {
    struct Format {
        unsigned int data_bits = 8; ///< 5 to 8; any other value means 8
        unsigned int stop_bits = 1; ///< 2; any other value means 1
        unsigned int parity = 0;    ///< 0 none, 1 odd, 2 even; else on, odd or even as it was
    };
    struct Flow {
        unsigned int mode = 1; ///< 0 none, 1 hardware RTS/CTS, 2 software XON/XOFF
        quint16 dtr = 0;       ///< modem lines: 0 low, else high
        quint16 rts = 0;
        quint16 cts = 0;
        quint16 dsr = 0;
    };

    unsigned int baud = 9600; ///< bits per second
    Format format;
    Flow flow;
};

/// Terminal settings of one open serial device, through the POSIX terminal interface (termios.h)
/// and the modem-line ioctls (tty_ioctl(4)).
///
/// Does not own the descriptor: it asks for it through handle().
///
/// Errors  every operation returns false (0) while the port is not configured or the descriptor
///         is negative, and when the settings cannot be read. Whether a device takes what is set,
///         or has modem lines at all, is not reported, but by init_port() and restore_port().
///         Nothing is printed.
/// Thread  any one at a time.
class Posix_serial_port {
public:
    /// The descriptor, negative when closed.
    virtual int handle() = 0;

    virtual ~Posix_serial_port() = default;

    /// Saves the device's settings and makes it raw, 8 bits wide as cfmakeraw leaves it, reads
    /// waiting for one byte, receiver on, modem lines ignored, no hang-up on close. The speed
    /// stays. Call once after opening; on failure the port stays unconfigured.
    bool init_port();

    /// Writes back the settings that init_port() saved.
    bool restore_port();

    /// Sets both speeds to the first of the known rates that is not below `rate`, or to the
    /// highest. True even when the device refuses it.
    bool set_baud(int rate);

    /// The device's input speed in bits per second; 2400 for one that is not a known rate.
    unsigned int baud();

    bool set_format(unsigned int data_bits, unsigned int stop_bits, unsigned int parity);
    bool get_format(Serial_settings::Format& format);

    /// Sets the flow control; mode 1 raises RTS as well.
    bool set_flow(int mode);

    /// Reads flow control and modem lines. A device without modem lines reads as all low.
    bool get_flow(Serial_settings::Flow& flow);

    /// Sets one modem line, if the device has it and it is not so already.
    bool set_dtr(bool high);
    bool set_rts(bool high);

    /// Applies everything; DTR and RTS follow the record unless the mode is 1, which raises RTS.
    bool apply(const Serial_settings& settings);

private:
    bool is_ready();
    bool write_settings();
    bool set_modem_lines(int mask, int lines);
    void put_speed(qint64 rate);
    void put_format(const Serial_settings::Format& format);
    void put_flow(unsigned int mode);

    std::unique_ptr<termios> working_; ///< absent until configured
    std::unique_ptr<termios> saved_;   ///< as found by init_port()
};
