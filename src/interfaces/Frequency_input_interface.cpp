#include "Frequency_input_interface.h"

#include "Named_field.h"

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
    const double value = *frequency;
    Reported_number::begin_update(value);
    number_.end_update(value, [this, value] { Q_EMIT val_changed(value, false); });
    return true;
}

void Frequency_input_interface::handle_timeout()
{
    Q_EMIT val_changed(number_.value(), true);
}

void Frequency_input_interface::get_value(double& val)
{
    val = number_.value();
}

void Frequency_input_interface::set_hysteresis(double val)
{
    number_.set_hysteresis(val);
}

void Frequency_input_interface::get_hysteresis(double& val)
{
    val = number_.hysteresis();
}

void Frequency_input_interface::set_time_out(uint val)
{
    number_.set_time_out(val, this, &Frequency_input_interface::handle_timeout);
}

void Frequency_input_interface::get_time_out(uint& val)
{
    val = number_.time_out();
}
