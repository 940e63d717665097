#include "Lock_interface.h"

#include "Console.h"

Lock_interface::Lock_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

void Lock_interface::set_hold(bool /*val*/)
{
    Console::out() << "not implemented src/interfaces/Lock_interface:27\n";
}

void Lock_interface::hold()
{
    set_hold(true);
}

void Lock_interface::release()
{
    set_hold(false);
}

void Lock_interface::is_hold(bool& /*res*/)
{
    Console::out() << "not implemented src/interfaces/Lock_interface:32\n";
}
