#include "Version_interface.h"

#include "Console.h"

Version_interface::Version_interface(DBus_daemon* owner, const QString& path)
    : Interface_base(owner, path, nullptr)
{
    register_object();
}

void Version_interface::get(QString& res)
{
    Console::out().format("Send %s\n", text_.toUtf8().constData());
    res = text_;
}
