#include "Digital_input_interface.h"

#include "Console.h"
#include "Named_field.h"

namespace {

constexpr U8_field digest_inputs = {Message_id::digest, "inputs"};
constexpr U8_field reported_inputs = {Message_id::digital_inputs, "inputs"};

} // namespace

Digital_input_interface::Digital_input_interface(DBus_daemon* owner, const QString& relative_path,
                                                 uint channel)
    : Interface_base(owner, relative_path, nullptr), channel_(channel)
{
    register_object();
}

bool Digital_input_interface::handle_message(const uchar* data, uint len)
{
    const auto reported = reported_inputs.read(data, len);
    const auto inputs = reported ? reported : digest_inputs.read(data, len);
    if (!inputs)
        return refuse(data, len);

    const bool on = input_bit(*inputs, channel_);
    if (on == on_) {
        if (reported)
            report_unchanged(data[0]);
        return true;
    }
    // The identifier as a character, which those who look for the text know: 0x36 shows as "6".
    Console::err() << "Changed id=" << static_cast<char>(data[0]) << " len=" << len << "\n";
    on_ = on;
    Q_EMIT changed(on);
    return true;
}

void Digital_input_interface::is_on(bool& res)
{
    res = on_;
}

void Digital_input_interface::report_unchanged(uchar id) const
{
    Console::err() << "UnChanged id=" << static_cast<char>(id) << " dio=" << channel_
                   << " val=" << int{on_} << "\n";
}
