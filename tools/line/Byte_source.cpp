#include "Byte_source.h"

#include <QFile>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

Byte_source::~Byte_source()
{
    if (descriptor_ > STDERR_FILENO)
        ::close(descriptor_);
}

QString Byte_source::open(const QString& path)
{
    const bool is_standard_input = path == QLatin1String("-");
    name_ = is_standard_input ? QStringLiteral("standard input") : path;
    descriptor_ = is_standard_input
                      ? STDIN_FILENO
                      : ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0)
        return QString::fromLocal8Bit(std::strerror(errno));
    buffer_.resize(2 * block);
    fill();
    return error_;
}

void Byte_source::take(int descriptor, const QString& name)
{
    name_ = name;
    descriptor_ = descriptor;
    buffer_.resize(2 * block);
}

bool Byte_source::fill()
{
    if (size() >= block)
        return false;
    if (begin_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, size());
        end_ -= begin_;
        begin_ = 0;
    }
    ssize_t count = 0;
    do {
        count = ::read(descriptor_, buffer_.data() + end_, block);
    } while (count < 0 && errno == EINTR);
    if (count < 0)
        error_ = QString::fromLocal8Bit(std::strerror(errno));
    if (count <= 0)
        return false;
    end_ += static_cast<std::size_t>(count);
    return true;
}
