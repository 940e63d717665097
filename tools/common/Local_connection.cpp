#include "Local_connection.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

Local_connection::Local_connection(int descriptor)
    : descriptor_(descriptor),
      readable_(descriptor, QSocketNotifier::Read),
      writable_(descriptor, QSocketNotifier::Write)
{
    (void)::fcntl(descriptor_, F_SETFL, ::fcntl(descriptor_, F_GETFL) | O_NONBLOCK);
    writable_.setEnabled(false);
    connect(&readable_, &QSocketNotifier::activated, this, &Local_connection::read_some);
    connect(&writable_, &QSocketNotifier::activated, this, &Local_connection::write_some);
}

Local_connection::~Local_connection()
{
    close();
}

void Local_connection::write(const QByteArray& bytes)
{
    if (!is_open())
        return;
    waiting_.append(bytes);
    write_some();
    if (waiting_.size() > most_waiting)
        end();
}

void Local_connection::close()
{
    if (!is_open())
        return;
    readable_.setEnabled(false);
    writable_.setEnabled(false);
    ::close(descriptor_);
    descriptor_ = -1;
    waiting_.clear();
}

void Local_connection::read_some()
{
    char bytes[65536];
    const ssize_t count = ::recv(descriptor_, bytes, sizeof bytes, 0);
    if (count > 0)
        Q_EMIT received(QByteArray(bytes, static_cast<int>(count)));
    else if (count == 0 || (errno != EAGAIN && errno != EINTR))
        end();
}

void Local_connection::write_some()
{
    const ssize_t count = ::send(descriptor_, waiting_.constData(),
                                 static_cast<std::size_t>(waiting_.size()), MSG_NOSIGNAL);
    if (count > 0)
        waiting_.remove(0, static_cast<int>(count));
    else if (count < 0 && errno != EAGAIN && errno != EINTR)
        end();
    if (is_open())
        writable_.setEnabled(!waiting_.isEmpty());
}

void Local_connection::end()
{
    if (!is_open())
        return;
    close();
    Q_EMIT ended();
}
