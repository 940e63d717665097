#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// The files of the page: those in the program, or those of a directory for who changes them.
///
/// Thread: any one.
class Page_files {
public:
    struct File {
        QByteArray bytes;
        QByteArray type; ///< as HTTP names it
    };

    /// `directory`: where they are; empty for those in the program.
    explicit Page_files(const QString& directory = {});

    /// The file of a path, "/panel.js", as it is now; "/" is the page itself. None for a path of
    /// which a part begins with a dot or has anything but letters, digits, "_", "-" and ".".
    std::optional<File> find(const QByteArray& path) const;

private:
    QString root_;
};
