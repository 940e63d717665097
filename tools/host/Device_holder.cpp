#include "Device_holder.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace {

/// What a process has open, as far as it concerns the line.
struct Ends {
    bool host = false;
    bool controller = false;
};

Ends ends_of(const QString& process, const struct stat& device)
{
    Ends ends;
    const QDir descriptors(QStringLiteral("/proc/%1/fd").arg(process));
    for (const QString& name : descriptors.entryList(QDir::Files | QDir::System)) {
        const QString path = descriptors.filePath(name);
        struct stat opened {};
        // Not by st_rdev: a sandbox has pseudo terminals of its own with the same numbers.
        if (stat(QFile::encodeName(path).constData(), &opened) == 0 &&
            opened.st_dev == device.st_dev && opened.st_ino == device.st_ino)
            ends.host = true;
        if (QFile::symLinkTarget(path).endsWith(QLatin1String("/ptmx")))
            ends.controller = true;
    }
    return ends;
}

QString command_of(const QString& process)
{
    QFile file(QStringLiteral("/proc/%1/comm").arg(process));
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()).trimmed()
                                          : QStringLiteral("process");
}

} // namespace

QString holder_of(int descriptor)
{
    struct stat device {};
    if (fstat(descriptor, &device) != 0)
        return {};
    for (const QString& process : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        if (process.toInt() <= 0 || process.toInt() == getpid())
            continue;
        const Ends ends = ends_of(process, device);
        if (ends.host && !ends.controller)
            return QStringLiteral("%1 (%2)").arg(command_of(process), process);
    }
    return {};
}
