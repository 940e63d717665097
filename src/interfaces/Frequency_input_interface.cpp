#include "Frequency_input_interface.h"

#include "Console.h"
#include "Named_field.h"

#include <cmath>

namespace {

constexpr U16_field digest_frequency = {Message_id::digest, "frequency"};

} // namespace

Frequency_input_interface::Frequency_input_interface(DBus_daemon* owner,
                                                     const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

bool Frequency_input_interface::handle_message(const uchar* data, uint len)
{
    const auto frequency = digest_frequency.read(data, len);
    if (!frequency)
        return refuse(data, len);
    update(*frequency);
    return true;
}

void Frequency_input_interface::handle_timeout()
{
    Q_EMIT val_changed(value_, true);
}

void Frequency_input_interface::get_value(double& val)
{
    val = value_;
}

void Frequency_input_interface::set_hysteresis(double val)
{
    hysteresis_ = val;
}

void Frequency_input_interface::get_hysteresis(double& val)
{
    val = hysteresis_;
}

void Frequency_input_interface::set_time_out(uint val)
{
    time_out_.set(val, this, &Frequency_input_interface::handle_timeout);
}

void Frequency_input_interface::get_time_out(uint& val)
{
    val = time_out_.period();
}

void Frequency_input_interface::update(double value)
{
    Console::err() << "Updated val=" << value;
    if (std::fabs(reported_ - value) > hysteresis_) {
        Console::err() << " Changed";
        Q_EMIT val_changed(value, false);
        reported_ = value;
        time_out_.restart();
    } else {
        Console::err() << " !Changed";
    }
    Console::err() << "\n";
    value_ = value;
}
