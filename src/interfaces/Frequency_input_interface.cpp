#include "Frequency_input_interface.h"

#include "Console.h"
#include "Message.h"
#include "Message_id.h"

#include <cmath>

Frequency_input_interface::Frequency_input_interface(DBus_daemon* owner,
                                                     const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

bool Frequency_input_interface::handle_message(const uchar* data, uint len)
{
    if (len < 8 || data[0] != Message_id::digest)
        return refuse(data, len);
    update(big_endian(data + 6));
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
