#include "Media_interface.h"

#include "Console.h"
#include "Paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

#if QT_VERSION < QT_VERSION_CHECK(6, 5, 0)
QStringList media_in(const QString& path)
{
    return QDir(path).entryList({QStringLiteral("usb*")},
                                QDir::Dirs | QDir::Files | QDir::Drives | QDir::CaseSensitive,
                                QDir::Name | QDir::IgnoreCase);
}
#else
/// As QDir did: its later versions end a list at the first name that is no text.
QStringList media_in(const QString& path)
{
    QStringList names;
    std::error_code error;
    const std::filesystem::path directory(QFile::encodeName(path).toStdString());
    for (std::filesystem::directory_iterator each(directory, error), end; each != end;
         each.increment(error)) {
        const QByteArray bytes = QByteArray::fromStdString(each->path().filename().string());
        const QFileInfo entry(QDir(path), QFile::decodeName(bytes));
        if (bytes.startsWith("usb") && bytes.isValidUtf8() && entry.exists() &&
            (entry.isFile() || entry.isDir() || entry.isSymLink()))
            names.append(entry.fileName());
    }
    std::stable_sort(names.begin(), names.end(),
                     [](const QString& a, const QString& b) { return a.toLower() < b.toLower(); });
    return names;
}
#endif

/// Those of `wanted` that are not among `names`, in their order.
QStringList missing_in(const QStringList& names, const QStringList& wanted)
{
    const QSet<QString> present(names.begin(), names.end());
    QStringList missing;
    for (const QString& name : wanted) {
        if (!present.contains(name))
            missing.append(name);
    }
    return missing;
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
    print("Media changed", path);
    const QStringList found = media_in(path);
    for (const QString& name : missing_in(found, known_)) {
        print("Removed", name);
        Q_EMIT connection(path + name, false);
    }
    for (const QString& name : missing_in(known_, found)) {
        print("Added", name);
        Q_EMIT connection(path + name, true);
    }
    known_ = found;
    for (const QString& name : found)
        print("Current", name);
}
