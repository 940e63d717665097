#include "Buzzer_interface.h"

#include "Console.h"
#include "Paths.h"
#include "Shell.h"

#include <cmath>

namespace {

void print_file_name(const QString& name)
{
    Console::out().format("BUZ get filename %s\n", name.toUtf8().constData());
}

} // namespace

uchar reported_volume(double volume)
{
    constexpr double limit = 9223372036854775808.0; // 2 to the 63rd
    if (!(volume >= -limit && volume < limit))
        return 0;
    return static_cast<uchar>(static_cast<qint64>(volume));
}

Buzzer_interface::Buzzer_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr),
      file_name_(QString::fromUtf8(paths().buzzer_sound))
{
    register_object();
    set_volume(0.0);
}

Buzzer_interface::~Buzzer_interface()
{
    Console::out() << "BUZ cleaning up\n";
    run_in_shell(paths().buzzer_cleanup);
}

void Buzzer_interface::set_volume(double val)
{
    Q_EMIT volume_changed(reported_volume(val));
    volume_ = val;
    Console::out().format("BUZ volume set to %f\n", val);
}

void Buzzer_interface::get_volume(double& val)
{
    val = volume_;
}

void Buzzer_interface::get_buzzer_file(QString& res)
{
    res = file_name_;
    print_file_name(file_name_);
}

void Buzzer_interface::set_buzzer_file(const QString& fname)
{
    file_name_ = fname;
    print_file_name(file_name_);
    const double volume = volume_;
    set_volume(0.0);
    set_volume(volume);
}
