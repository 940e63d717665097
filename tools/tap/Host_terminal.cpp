#include "Host_terminal.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

constexpr int open_flags = O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK;

} // namespace

QString Host_terminal::open(const termios& device)
{
    close();
    char name[64];
    const int packet_mode = 1;
    own_ = posix_openpt(open_flags);
    if (own_ < 0 || grantpt(own_) != 0 || unlockpt(own_) != 0 ||
        ptsname_r(own_, name, sizeof name) != 0 || ioctl(own_, TIOCPKT, &packet_mode) != 0) {
        QString error =
            QStringLiteral("no pseudo terminal: ") + QString::fromLocal8Bit(std::strerror(errno));
        close();
        return error;
    }
    name_ = QString::fromLocal8Bit(name);
    termios settings = device;
    cfmakeraw(&settings);
    settings.c_lflag |= EXTPROC;
    (void)tcsetattr(own_, TCSANOW, &settings);
    // Until it has been open once, "nobody has it open" cannot be told from "somebody has".
    const int host = ::open(name, open_flags);
    if (host >= 0)
        ::close(host);
    return {};
}

void Host_terminal::close()
{
    if (own_ >= 0)
        ::close(own_);
    own_ = -1;
}

bool Host_terminal::has_host() const
{
    pollfd end = {own_, 0, 0};
    return poll(&end, 1, 0) == 0 || (end.revents & POLLHUP) == 0;
}

Host_terminal::Found Host_terminal::read(char* bytes, int size, int& count)
{
    uchar news = TIOCPKT_DATA;
    const iovec parts[] = {{&news, 1}, {bytes, static_cast<std::size_t>(size)}};
    const ssize_t total = readv(own_, parts, 2);
    if (total <= 0)
        return total < 0 && (errno == EAGAIN || errno == EINTR) ? Found::nothing : Found::closed;
    if (news != TIOCPKT_DATA)
        return Found::settings;
    count = static_cast<int>(total - 1);
    return Found::bytes;
}

termios Host_terminal::settings()
{
    termios present{};
    (void)tcgetattr(own_, &present);
    if ((present.c_lflag & EXTPROC) == 0) {
        present.c_lflag |= EXTPROC; // or the next change would be no news
        (void)tcsetattr(own_, TCSANOW, &present);
    }
    return present;
}

void Host_terminal::forget_unread()
{
    const int host = ::open(name_.toLocal8Bit().constData(), open_flags);
    if (host < 0)
        return;
    (void)tcflush(host, TCIFLUSH);
    ::close(host);
}
