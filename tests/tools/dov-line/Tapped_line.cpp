#include "Tapped_line.h"

#include <QDeadlineTimer>
#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int patience_ms = 30000;

} // namespace

Tapped_line::~Tapped_line()
{
    close_host();
    pull_out();
}

void Tapped_line::pull_out()
{
    QFile::remove(device());
    terminal_.reset();
}

void Tapped_line::plug_in()
{
    terminal_.emplace();
    QFile::link(terminal_->device(), device());
}

bool Tapped_line::open_host()
{
    close_host();
    host_ =
        ::open(QFile::encodeName(link()).constData(), O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (host_ < 0)
        return false;
    termios settings{};
    tcgetattr(host_, &settings);
    cfmakeraw(&settings);
    tcsetattr(host_, TCSANOW, &settings);
    return true;
}

void Tapped_line::close_host()
{
    if (host_ >= 0)
        ::close(host_);
    host_ = -1;
}

termios Tapped_line::device_settings() const
{
    termios settings{};
    tcgetattr(terminal_->other(), &settings);
    return settings;
}

bool Tapped_line::host_is_hung_up() const
{
    pollfd end = {host_, POLLIN, 0};
    return poll(&end, 1, 0) == 1 && (end.revents & POLLHUP) != 0;
}

void Tapped_line::send(int end, const QByteArray& bytes)
{
    QDeadlineTimer deadline(patience_ms); // for the next bytes
    for (int done = 0; done < bytes.size() && !deadline.hasExpired();) {
        const ssize_t count =
            ::write(end, bytes.constData() + done, static_cast<std::size_t>(bytes.size() - done));
        pollfd room = {end, POLLOUT, 0};
        if (count > 0) {
            done += static_cast<int>(count);
            deadline.setRemainingTime(patience_ms);
        } else {
            (void)poll(&room, 1, 10);
        }
    }
}

QByteArray Tapped_line::receive(int end, int count)
{
    QByteArray bytes;
    QDeadlineTimer deadline(patience_ms); // for the next bytes
    while (bytes.size() < count && !deadline.hasExpired()) {
        char some[4096];
        const ssize_t size = ::read(
            end, some, std::min(sizeof some, static_cast<std::size_t>(count - bytes.size())));
        pollfd news = {end, POLLIN, 0};
        if (size > 0) {
            bytes.append(some, static_cast<int>(size));
            deadline.setRemainingTime(patience_ms);
        } else if (size == 0 || errno != EAGAIN) {
            break;
        } else {
            (void)poll(&news, 1, 100);
        }
    }
    return bytes;
}
