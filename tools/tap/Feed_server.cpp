#include "Feed_server.h"

#include <QFile>

#include <cerrno>
#include <cstring>

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

} // namespace

Feed_server::~Feed_server()
{
    notifier_.reset();
    if (descriptor_ < 0)
        return;
    ::close(descriptor_);
    QFile::remove(path_);
    for (Recording_writer& reader : readers_)
        reader.finish();
    constexpr int patience_ms = 200;
    for (Recording_writer& reader : readers_)
        (void)reader.end(patience_ms);
}

QString Feed_server::open(const QString& path, const Recording_writer::Order& order)
{
    order_ = order;
    order_.path = path;
    order_.format = Recording_writer::Format::pcapng;
    order_.complain = nullptr; // readers may go as they like
    sockaddr_un address{};
    const QByteArray name = QFile::encodeName(path);
    address.sun_family = AF_UNIX;
    if (name.size() >= static_cast<int>(sizeof address.sun_path))
        return path + QStringLiteral(": the name of a socket has at most %1 bytes")
                          .arg(sizeof address.sun_path - 1);
    std::memcpy(address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));
    if (is_socket(name.constData()))
        ::unlink(name.constData());
    descriptor_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor_ < 0 ||
        ::bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(descriptor_, most_readers) != 0) {
        QString error = failure(path);
        if (descriptor_ >= 0)
            ::close(descriptor_);
        descriptor_ = -1;
        return error;
    }
    path_ = path;
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { accept_reader(); });
    return {};
}

void Feed_server::write(const Line_record& record)
{
    for (Recording_writer& reader : readers_)
        reader.write(record);
    forget_gone();
}

void Feed_server::accept_reader()
{
    const int reader = ::accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC);
    if (reader < 0)
        return;
    forget_gone();
    if (readers() >= most_readers)
        ::close(reader);
    else
        readers_.emplace_back().take(reader, order_);
}

void Feed_server::forget_gone()
{
    readers_.remove_if([](const Recording_writer& reader) { return reader.has_lost_reader(); });
}
