#include "UID_version_interface.h"

#include "Console.h"
#include "Message_id.h"

UID_version_interface::UID_version_interface(DBus_daemon* owner, const QString& path)
    : Version_interface(owner, path)
{
    set_text(QLatin1String(unknown));
}

bool UID_version_interface::handle_message(const uchar* data, uint len)
{
    if (len < 8 || data[0] != Message_id::unique_id)
        return false;
    const QByteArray text =
        QByteArray(reinterpret_cast<const char*>(data + 1), 7).toHex().toUpper();
    set_text(QString::fromLatin1(text));
    Console::out().format("Got unique ID: %s\n", text.constData());
    return true;
}
