#include "Line.h"

#include <QFile>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

/// As much as a serial driver keeps.
constexpr int pending_limit = 4096;

QString failure(const QString& what)
{
    return what + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
}

/// Whether a terminal has bytes for its reader. Not by FIONREAD, which does not see those that are
/// still on their way between the two ends; poll() waits until these have come.
bool has_unread(int terminal)
{
    pollfd news = {terminal, POLLIN, 0};
    return poll(&news, 1, 0) > 0 && (news.revents & POLLIN) != 0;
}

} // namespace

Line::~Line()
{
    close();
}

QString Line::open_pty(const QString& link)
{
    own_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (own_ < 0 || grantpt(own_) != 0 || unlockpt(own_) != 0)
        return failure(QStringLiteral("no pseudo terminal"));
    device_ = QString::fromLocal8Bit(ptsname(own_));
    // Kept open: the line stays up before, between and after the hosts that have it.
    port_ = ::open(ptsname(own_), O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (port_ < 0 || !init_port())
        return failure(device_);
    QString error = link.isEmpty() ? QString() : link_.make(link, device_);
    if (error.isEmpty())
        watch();
    return error;
}

QString Line::open_device(const QString& path, int baud)
{
    device_ = path;
    port_ = ::open(QFile::encodeName(path).constData(), O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (port_ < 0)
        return failure(path);
    own_ = port_;
    if (!init_port())
        return failure(path);
    set_baud(baud);
    watch();
    return {};
}

void Line::close()
{
    readable_.reset();
    writable_.reset();
    pending_.clear();
    link_.remove();
    if (own_ >= 0 && own_ != port_)
        ::close(own_);
    if (port_ >= 0) {
        restore_port();
        ::close(port_);
    }
    own_ = port_ = -1;
}

bool Line::is_drained() const
{
    const bool is_pty = own_ != port_;
    return pending_.isEmpty() && (!is_open() || !is_pty || !has_unread(port_));
}

void Line::write(const QByteArray& bytes)
{
    if (!is_open())
        return;
    pending_.append(bytes);
    write_pending();
    if (pending_.size() > pending_limit) {
        lost_bytes_ += pending_.size() - pending_limit;
        pending_.truncate(pending_limit);
    }
}

void Line::watch()
{
    readable_ = std::make_unique<QSocketNotifier>(own_, QSocketNotifier::Read);
    connect(readable_.get(), &QSocketNotifier::activated, this, &Line::read_all);
    writable_ = std::make_unique<QSocketNotifier>(own_, QSocketNotifier::Write);
    writable_->setEnabled(false);
    connect(writable_.get(), &QSocketNotifier::activated, this, [this] {
        write_pending();
        if (pending_.isEmpty())
            Q_EMIT written();
    });
}

void Line::read_all()
{
    char bytes[4096];
    const ssize_t count = read(own_, bytes, sizeof bytes);
    if (count > 0) {
        Q_EMIT received(QByteArray(bytes, static_cast<int>(count)));
        return;
    }
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    close();
    Q_EMIT lost();
}

void Line::write_pending()
{
    const ssize_t count =
        ::write(own_, pending_.constData(), static_cast<std::size_t>(pending_.size()));
    if (count > 0)
        pending_.remove(0, static_cast<int>(count));
    writable_->setEnabled(!pending_.isEmpty());
}
