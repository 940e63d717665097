#include "Media_interface.h"

#include "Console.h"
#include "Paths.h"

#include <QDir>
#include <QFile>

namespace {

QStringList media_in(const QString& path)
{
    return QDir(path).entryList({QStringLiteral("usb*")},
                                QDir::Dirs | QDir::Files | QDir::Drives | QDir::CaseSensitive,
                                QDir::Name | QDir::IgnoreCase);
}

void print(const char* what, const QString& name)
{
    Console::out().format("%s %s\n", what, name.toUtf8().constData());
}

} // namespace

Media_interface::Media_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
    const QString directory = QFile::decodeName(paths().media_directory);
    connect(&watcher_, &QFileSystemWatcher::directoryChanged, this,
            &Media_interface::media_changed);
    if (QFile::exists(directory)) // the watcher warns of a path that does not
        watcher_.addPath(directory);
    media_changed(directory);
}

void Media_interface::media_changed(const QString& path)
{
    const Console_batch batch;
    print("Media changed", path);
    const QStringList found = media_in(path);
    for (const QString& name : qAsConst(known_)) {
        if (!found.contains(name)) {
            print("Removed", name);
            Q_EMIT connection(path + name, false);
        }
    }
    for (const QString& name : found) {
        if (!known_.contains(name)) {
            print("Added", name);
            Q_EMIT connection(path + name, true);
        }
    }
    known_ = found;
    for (const QString& name : found)
        print("Current", name);
}
