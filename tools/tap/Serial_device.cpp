#include "Serial_device.h"

#include <QFile>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

/// What of the control flags a host decides; size and parity cannot be seen through a pseudo
/// terminal.
constexpr tcflag_t followed_control = CBAUD | CBAUDEX | CSTOPB | CRTSCTS | HUPCL;
constexpr tcflag_t followed_input = IXON | IXOFF | IXANY;

constexpr tcflag_t merged(tcflag_t own, tcflag_t other, tcflag_t mask)
{
    return (own & ~mask) | (other & mask);
}

struct Speed {
    speed_t code;
    uint rate;
};

constexpr Speed speeds[] = {
    {B50, 50},           {B75, 75},           {B110, 110},         {B134, 134},
    {B150, 150},         {B200, 200},         {B300, 300},         {B600, 600},
    {B1200, 1200},       {B1800, 1800},       {B2400, 2400},       {B4800, 4800},
    {B9600, 9600},       {B19200, 19200},     {B38400, 38400},     {B57600, 57600},
    {B115200, 115200},   {B230400, 230400},   {B460800, 460800},   {B500000, 500000},
    {B576000, 576000},   {B921600, 921600},   {B1000000, 1000000}, {B1152000, 1152000},
    {B1500000, 1500000}, {B2000000, 2000000}, {B2500000, 2500000}, {B3000000, 3000000},
    {B3500000, 3500000}, {B4000000, 4000000},
};

} // namespace

QString Serial_device::open(const QString& path)
{
    close();
    descriptor_ =
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor_ >= 0 && tcgetattr(descriptor_, &found_) == 0) {
        working_ = found_;
        cfmakeraw(&working_);
        working_.c_cc[VMIN] = 1; // nothing to read is an error then, and no end of the file
        working_.c_cc[VTIME] = 0;
        working_.c_cflag |= CREAD | CLOCAL;
        if (tcsetattr(descriptor_, TCSANOW, &working_) == 0)
            return {};
    }
    QString error = path + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
    if (descriptor_ >= 0)
        ::close(descriptor_);
    descriptor_ = -1;
    return error;
}

void Serial_device::close()
{
    if (descriptor_ < 0)
        return;
    (void)tcsetattr(descriptor_, TCSANOW, &found_);
    ::close(descriptor_);
    descriptor_ = -1;
}

void Serial_device::follow(const termios& host)
{
    termios wanted = working_;
    wanted.c_cflag = merged(wanted.c_cflag, host.c_cflag, followed_control);
    wanted.c_iflag = merged(wanted.c_iflag, host.c_iflag, followed_input);
    cfsetispeed(&wanted, cfgetispeed(&host));
    cfsetospeed(&wanted, cfgetospeed(&host));
    if (tcsetattr(descriptor_, TCSANOW, &wanted) == 0)
        working_ = wanted;
}

void Serial_device::set_modem_lines(bool high)
{
    const int lines = TIOCM_DTR | TIOCM_RTS;
    (void)ioctl(descriptor_, high ? TIOCMBIS : TIOCMBIC, &lines);
}

uint Serial_device::rate_of(speed_t code)
{
    for (const Speed& speed : speeds) {
        if (speed.code == code)
            return speed.rate;
    }
    return 0;
}
