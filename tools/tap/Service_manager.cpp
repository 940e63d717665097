#include "Service_manager.h"

#include <QByteArray>

#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// The protocol of sd_notify(3), without its library.
void Service_manager::tell_ready()
{
    const QByteArray path = qgetenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.isEmpty() || path.size() >= static_cast<int>(sizeof address.sun_path))
        return;
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    if (address.sun_path[0] == '@')
        address.sun_path[0] = '\0'; // in the abstract name space
    const int descriptor = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return;
    constexpr char ready[] = "READY=1";
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path)) +
                      static_cast<socklen_t>(path.size());
    (void)::sendto(descriptor, ready, sizeof ready - 1, MSG_NOSIGNAL,
                   reinterpret_cast<const sockaddr*>(&address), size);
    ::close(descriptor);
}
