#include "Local_listener.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <optional>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

QString failure(const QString& path)
{
    return path + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
}

bool is_socket(const char* path)
{
    struct stat present {};
    return lstat(path, &present) == 0 && S_ISSOCK(present.st_mode);
}

/// The address of a path; none, with an error's text, for one that is too long.
std::optional<sockaddr_un> address_of(const QString& path, QString& error)
{
    sockaddr_un address{};
    const QByteArray name = QFile::encodeName(path);
    address.sun_family = AF_UNIX;
    if (name.size() >= static_cast<int>(sizeof address.sun_path)) {
        error = path + QStringLiteral(": the name of a socket has at most %1 bytes")
                           .arg(sizeof address.sun_path - 1);
        return std::nullopt;
    }
    std::memcpy(address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));
    return address;
}

int stream_socket()
{
    return ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

} // namespace

Local_listener::~Local_listener()
{
    notifier_.reset();
    if (descriptor_ < 0)
        return;
    ::close(descriptor_);
    QFile::remove(path_);
}

QString Local_listener::open(const QString& path)
{
    QString error;
    const auto address = address_of(path, error);
    if (!address)
        return error;
    if (is_socket(address->sun_path))
        ::unlink(address->sun_path);
    descriptor_ = stream_socket();
    constexpr int most_waiting = 8;
    if (descriptor_ < 0 ||
        ::bind(descriptor_, reinterpret_cast<const sockaddr*>(&*address), sizeof *address) != 0 ||
        ::listen(descriptor_, most_waiting) != 0) {
        error = failure(path);
        if (descriptor_ >= 0)
            ::close(descriptor_);
        descriptor_ = -1;
        return error;
    }
    path_ = path;
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, &Local_listener::take);
    return {};
}

int Local_listener::connect_to(const QString& path, QString& error)
{
    const auto address = address_of(path, error);
    if (!address)
        return -1;
    const int descriptor = stream_socket();
    if (descriptor >= 0 &&
        ::connect(descriptor, reinterpret_cast<const sockaddr*>(&*address), sizeof *address) == 0)
        return descriptor;
    error = failure(path);
    if (descriptor >= 0)
        ::close(descriptor);
    return -1;
}

void Local_listener::take()
{
    const int descriptor = ::accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor >= 0)
        Q_EMIT connected(descriptor);
}
