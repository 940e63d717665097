#include "Dimmable_interface.h"

#include "Console.h"

Dimmable_interface::Dimmable_interface(DBus_daemon* owner, const QString& relative_path)
    : Dimmable_interface(owner, relative_path, 0.0)
{
    register_object();
}

Dimmable_interface::Dimmable_interface(DBus_daemon* owner, const QString& relative_path,
                                       double brightness)
    : Interface_base(owner, relative_path, nullptr), brightness_(brightness)
{
}

void Dimmable_interface::set_brightness(double val)
{
    apply_brightness(val);
}

void Dimmable_interface::get_brightness(double& val)
{
    val = brightness_;
}

void Dimmable_interface::apply_brightness(double /*val*/)
{
    Console::out() << "LCD not implemented src/interfaces/Dimmable_interface:25\n";
}
