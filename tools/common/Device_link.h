#pragma once

#include <QString>

/// A symbolic link that names a pseudo terminal, for as long as this has it.
class Device_link {
public:
    Device_link() = default;
    ~Device_link() { remove(); }
    Device_link(const Device_link&) = delete;
    Device_link& operator=(const Device_link&) = delete;

    /// Makes `path` lead to a device, in the place of a link that may be there; what is no link is
    /// left alone. The name never leads nowhere in between. Returns an error's text, or nothing.
    QString make(const QString& path, const QString& device);

    /// Removes it, unless somebody else has made it lead elsewhere.
    void remove();

private:
    QString path_;
    QString device_;
};
