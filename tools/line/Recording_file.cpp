#include "Recording_file.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// A recording may be longer than 2 GiB.
static_assert(sizeof(off_t) == sizeof(qint64));

namespace {

QByteArray numbered(const QString& path, int number)
{
    return QFile::encodeName(number == 0 ? path : path + QStringLiteral(".%1").arg(number));
}

} // namespace

Recording_file::~Recording_file()
{
    if (descriptor_ > STDERR_FILENO)
        ::close(descriptor_);
}

QString Recording_file::open(const QString& path, const Rotation& rotation)
{
    if (path == QLatin1String("-")) {
        take(STDOUT_FILENO, QStringLiteral("standard output"));
        return {};
    }
    path_ = path;
    rotation_ = rotation;
    if (rotation_.most_bytes > 0)
        move_older();
    return begin();
}

void Recording_file::take(int descriptor, const QString& name)
{
    path_ = name;
    descriptor_ = descriptor;
}

bool Recording_file::is_full_for(qsizetype size) const
{
    return rotation_.most_bytes > 0 && size_ + static_cast<quint64>(size) > rotation_.most_bytes;
}

QString Recording_file::rotate()
{
    if (QFile::exists(path_)) // not when it could only be moved the last time
        move_older();
    return begin();
}

QString Recording_file::append(const QByteArray& blocks)
{
    qsizetype done = 0;
    while (done < blocks.size()) {
        const ssize_t count = ::write(descriptor_, blocks.constData() + done,
                                      static_cast<std::size_t>(blocks.size() - done));
        if (count >= 0) {
            done += count;
            continue;
        }
        if (errno == EINTR)
            continue;
        const int error = errno;
        has_lost_reader_ = !is_file_;
        if (is_file_ && ftruncate(descriptor_, static_cast<off_t>(size_)) == 0)
            (void)lseek(descriptor_, static_cast<off_t>(size_), SEEK_SET);
        return failure(error);
    }
    size_ += static_cast<quint64>(done);
    return {};
}

QString Recording_file::begin()
{
    const int descriptor = ::open(QFile::encodeName(path_).constData(),
                                  O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0)
        return failure(errno);
    if (descriptor_ >= 0)
        ::close(descriptor_);
    descriptor_ = descriptor;
    struct stat kind {};
    is_file_ = fstat(descriptor_, &kind) == 0 && S_ISREG(kind.st_mode);
    size_ = 0;
    return {};
}

/// The names that are not there are passed over.
void Recording_file::move_older() const
{
    for (int number = rotation_.files - 1; number > 0; --number)
        (void)std::rename(numbered(path_, number - 1).constData(),
                          numbered(path_, number).constData());
}

QString Recording_file::failure(int error) const
{
    return path_ + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(error));
}
