#include "Device_link.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace {

QString failure(const QString& path)
{
    return path + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
}

} // namespace

QString Device_link::make(const QString& path, const QString& device)
{
    remove();
    const QFileInfo present(path);
    if (present.exists() && !present.isSymLink())
        return path + QStringLiteral(" is there and no symbolic link");
    // Made beside it and moved.
    const QByteArray beside = QFile::encodeName(path + QStringLiteral(".%1").arg(getpid()));
    unlink(beside.constData());
    if (symlink(QFile::encodeName(device).constData(), beside.constData()) != 0)
        return failure(path);
    if (std::rename(beside.constData(), QFile::encodeName(path).constData()) != 0) {
        QString error = failure(path);
        unlink(beside.constData());
        return error;
    }
    path_ = path;
    device_ = device;
    return {};
}

void Device_link::remove()
{
    if (!path_.isEmpty() && QFile::symLinkTarget(path_) == device_)
        QFile::remove(path_);
    path_.clear();
}
