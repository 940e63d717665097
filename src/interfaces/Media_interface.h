#pragma once

#include "Interface_base.h"

#include <QFileSystemWatcher>
#include <QStringList>

/// The removable media, at "media": the entries of the media directory whose names begin with
/// "usb".
///
/// A directory that is missing or cannot be read is empty. One that is missing when the object is
/// created is never watched.
class Media_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.media")
public:
    Media_interface(DBus_daemon* owner, const QString& relative_path);

public Q_SLOTS:
    /// Scans a directory, whose path ends in '/', and reports the entries that are not those of
    /// the last scan, whichever directory that was of: first the removed, then the added.
    void media_changed(const QString& path);

Q_SIGNALS:
    /// An entry, by its path, has come or gone.
    void connection(QString path, bool connected);

private:
    QStringList known_;
    QFileSystemWatcher watcher_;
};
