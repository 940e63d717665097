#include "Posix_serial_port.h"

#include <algorithm>
#include <iterator>

#include <sys/ioctl.h>

namespace {

struct Baud_row {
    unsigned int rate;
    speed_t code;
};

/// Ascending. Without 1800 baud: that speed is set and reads as 2400.
constexpr Baud_row baud_rows[] = {
    {300, B300},     {600, B600},       {1200, B1200},     {2400, B2400},
    {4800, B4800},   {9600, B9600},     {19200, B19200},   {38400, B38400},
    {57600, B57600}, {115200, B115200}, {230400, B230400}, {460800, B460800},
};

constexpr unsigned int unknown_speed_baud = 2400;

struct Data_bits_row {
    unsigned int bits;
    tcflag_t code;
};

constexpr Data_bits_row data_bits_rows[] = {{5, CS5}, {6, CS6}, {7, CS7}, {8, CS8}};

enum Parity : unsigned int { parity_none = 0, parity_odd = 1, parity_even = 2 };
enum Flow_mode : unsigned int { flow_none = 0, flow_hardware = 1, flow_software = 2 };

constexpr void put_flags(tcflag_t& flags, tcflag_t mask, bool set)
{
    flags = set ? flags | mask : flags & ~mask;
}

} // namespace

bool Posix_serial_port::init_port()
{
    saved_ = std::make_unique<termios>();
    if (tcgetattr(handle(), saved_.get()) == 0) {
        working_ = std::make_unique<termios>(*saved_);
        cfmakeraw(working_.get());
        working_->c_cc[VMIN] = 1;
        working_->c_cc[VTIME] = 0;
        put_flags(working_->c_cflag, HUPCL, false);
        put_flags(working_->c_cflag, CREAD | CLOCAL, true);
        if (write_settings())
            return true;
    }
    working_.reset();
    saved_.reset();
    return false;
}

bool Posix_serial_port::restore_port()
{
    return is_ready() && tcsetattr(handle(), TCSANOW, saved_.get()) == 0;
}

bool Posix_serial_port::set_baud(int rate)
{
    if (!is_ready())
        return false;
    put_speed(rate);
    write_settings();
    return true;
}

unsigned int Posix_serial_port::baud()
{
    termios current;
    if (!is_ready() || tcgetattr(handle(), &current) != 0)
        return 0;
    const speed_t code = cfgetispeed(&current);
    const auto* row = std::find_if(std::begin(baud_rows), std::end(baud_rows),
                                   [code](const Baud_row& known) { return known.code == code; });
    return row == std::end(baud_rows) ? unknown_speed_baud : row->rate;
}

bool Posix_serial_port::set_format(unsigned int data_bits, unsigned int stop_bits,
                                   unsigned int parity)
{
    if (!is_ready())
        return false;
    put_format({data_bits, stop_bits, parity});
    write_settings();
    return true;
}

bool Posix_serial_port::get_format(Serial_settings::Format& format)
{
    termios current;
    if (!is_ready() || tcgetattr(handle(), &current) != 0)
        return false;
    const tcflag_t size = current.c_cflag & CSIZE;
    const auto* row =
        std::find_if(std::begin(data_bits_rows), std::end(data_bits_rows),
                     [size](const Data_bits_row& known) { return known.code == size; });
    format.data_bits = row->bits; // the rows hold every value of CSIZE
    format.stop_bits = (current.c_cflag & CSTOPB) != 0 ? 2 : 1;
    format.parity = (current.c_cflag & PARENB) == 0   ? parity_none
                    : (current.c_cflag & PARODD) != 0 ? parity_odd
                                                      : parity_even;
    return true;
}

bool Posix_serial_port::set_flow(int mode)
{
    if (!is_ready())
        return false;
    put_flow(static_cast<unsigned int>(mode));
    write_settings();
    if (mode == flow_hardware)
        set_rts(true);
    return true;
}

bool Posix_serial_port::get_flow(Serial_settings::Flow& flow)
{
    termios current;
    if (!is_ready() || tcgetattr(handle(), &current) != 0)
        return false;
    flow.mode = (current.c_cflag & CRTSCTS) != 0          ? flow_hardware
                : (current.c_iflag & (IXON | IXOFF)) != 0 ? flow_software
                                                          : flow_none;
    int lines = 0; // and remains so without modem lines
    ioctl(handle(), TIOCMGET, &lines);
    flow.dtr = (lines & TIOCM_DTR) != 0;
    flow.rts = (lines & TIOCM_RTS) != 0;
    flow.cts = (lines & TIOCM_CTS) != 0;
    flow.dsr = (lines & TIOCM_DSR) != 0;
    return true;
}

bool Posix_serial_port::set_dtr(bool high)
{
    return set_modem_lines(TIOCM_DTR, high ? TIOCM_DTR : 0);
}

bool Posix_serial_port::set_rts(bool high)
{
    return set_modem_lines(TIOCM_RTS, high ? TIOCM_RTS : 0);
}

bool Posix_serial_port::apply(const Serial_settings& settings)
{
    if (!is_ready())
        return false;
    put_speed(settings.baud);
    put_format(settings.format);
    put_flow(settings.flow.mode);
    write_settings();
    if (settings.flow.mode == flow_hardware)
        set_rts(true);
    else
        set_modem_lines(TIOCM_DTR | TIOCM_RTS, (settings.flow.dtr != 0 ? TIOCM_DTR : 0) |
                                                   (settings.flow.rts != 0 ? TIOCM_RTS : 0));
    return true;
}

bool Posix_serial_port::is_ready()
{
    return working_ != nullptr && handle() >= 0;
}

bool Posix_serial_port::write_settings()
{
    return tcsetattr(handle(), TCSANOW, working_.get()) == 0;
}

bool Posix_serial_port::set_modem_lines(int mask, int lines)
{
    if (!is_ready())
        return false;
    int current;
    if (ioctl(handle(), TIOCMGET, &current) != 0)
        return true; // no modem lines
    const int wanted = (current & ~mask) | lines;
    if (wanted != current)
        ioctl(handle(), TIOCMSET, &wanted);
    return true;
}

void Posix_serial_port::put_speed(qint64 rate)
{
    const auto* row = std::find_if(std::begin(baud_rows), std::end(baud_rows),
                                   [rate](const Baud_row& known) { return known.rate >= rate; });
    if (row == std::end(baud_rows))
        --row;
    cfsetispeed(working_.get(), row->code);
    cfsetospeed(working_.get(), row->code);
}

void Posix_serial_port::put_format(const Serial_settings::Format& format)
{
    const auto* row = std::find_if(
        std::begin(data_bits_rows), std::end(data_bits_rows),
        [&format](const Data_bits_row& known) { return known.bits == format.data_bits; });
    put_flags(working_->c_cflag, CSIZE, false);
    put_flags(working_->c_cflag, row == std::end(data_bits_rows) ? CS8 : row->code, true);
    put_flags(working_->c_cflag, CSTOPB, format.stop_bits == 2);
    put_flags(working_->c_cflag, PARENB, format.parity != parity_none);
    if (format.parity == parity_odd || format.parity == parity_even)
        put_flags(working_->c_cflag, PARODD, format.parity == parity_odd);
}

void Posix_serial_port::put_flow(unsigned int mode)
{
    put_flags(working_->c_iflag, IXON | IXOFF, mode == flow_software);
    put_flags(working_->c_cflag, CRTSCTS, mode == flow_hardware);
}
