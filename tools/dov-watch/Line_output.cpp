#include "Line_output.h"

#include "Formats.h"

#include <cerrno>

#include <poll.h>
#include <unistd.h>

Line_output::Line_output(int descriptor, bool json, const QString& filter)
    : descriptor_(descriptor), json_(json), filter_(filter)
{
}

bool Line_output::write(const Change& change) const
{
    if (!change.path.contains(filter_, Qt::CaseInsensitive) &&
        change.path != QLatin1String(service_name))
        return true;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QByteArray line = json_ ? change_json(change, now) : change_line(change, now);
    for (int written = 0; written < line.size();) {
        const ssize_t count = ::write(descriptor_, line.constData() + written,
                                      static_cast<std::size_t>(line.size() - written));
        if (count >= 0) {
            written += static_cast<int>(count);
        } else if (errno == EAGAIN) {
            pollfd ready = {descriptor_, POLLOUT, 0};
            (void)::poll(&ready, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}
