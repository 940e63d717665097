#include "Host_line.h"

#include "Device_holder.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

QString system_text()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

} // namespace

Host_line::~Host_line()
{
    close();
}

QString Host_line::open(const QString& path, uint baud)
{
    path_ = path;
    port_ = ::open(QFile::encodeName(path).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    const QString error = port_ < 0 ? system_text() : configure(baud);
    if (error.isEmpty())
        return {};
    if (port_ >= 0)
        ::close(port_);
    port_ = -1;
    return path + QStringLiteral(": ") + error;
}

QString Host_line::configure(uint baud)
{
    if (isatty(port_) == 0)
        return QStringLiteral("not a serial device");
    // Other programs on serial lines ask in the same way.
    if (flock(port_, LOCK_EX | LOCK_NB) != 0)
        return QStringLiteral("another program has locked it");
    const QString holder = holder_of(port_);
    if (!holder.isEmpty())
        return QStringLiteral("%1 has it open").arg(holder);
    if (!init_port())
        return system_text();
    set_baud(static_cast<int>(baud));
    readable_ = std::make_unique<QSocketNotifier>(port_, QSocketNotifier::Read);
    connect(readable_.get(), &QSocketNotifier::activated, this, &Host_line::read_some);
    writable_ = std::make_unique<QSocketNotifier>(port_, QSocketNotifier::Write);
    writable_->setEnabled(false);
    connect(writable_.get(), &QSocketNotifier::activated, this, &Host_line::write_pending);
    return {};
}

void Host_line::close()
{
    readable_.reset();
    writable_.reset();
    pending_.clear();
    if (port_ < 0)
        return;
    restore_port();
    ::close(port_);
    port_ = -1;
}

void Host_line::write(const QByteArray& bytes)
{
    if (!is_open())
        return;
    pending_.append(bytes);
    write_pending();
}

bool Host_line::has_input() const
{
    pollfd device = {port_, POLLIN, 0};
    return poll(&device, 1, 0) > 0;
}

void Host_line::read_some()
{
    char bytes[4096];
    const ssize_t count = ::read(port_, bytes, sizeof bytes);
    if (count > 0)
        Q_EMIT received(QByteArray(bytes, static_cast<int>(count)));
    else if (count == 0 || errno == EIO)
        lose(QStringLiteral("it has hung up"));
    else if (errno != EAGAIN && errno != EINTR)
        lose(system_text());
}

void Host_line::write_pending()
{
    const ssize_t count =
        ::write(port_, pending_.constData(), static_cast<std::size_t>(pending_.size()));
    if (count < 0 && errno != EAGAIN && errno != EINTR) {
        lose(errno == EIO ? QStringLiteral("it has hung up") : system_text());
        return;
    }
    pending_.remove(0, static_cast<int>(std::max<ssize_t>(count, 0)));
    writable_->setEnabled(!pending_.isEmpty());
}

void Host_line::lose(const QString& why)
{
    close();
    Q_EMIT lost(path_ + QStringLiteral(": ") + why);
}
