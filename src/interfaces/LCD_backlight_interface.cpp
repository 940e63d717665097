#include "LCD_backlight_interface.h"

#include "Console.h"
#include "Named_field.h"

#include <cmath>

namespace {

constexpr U8_field level = {Message_id::backlight, "level"};
constexpr U8_field second_level = {Message_id::backlight, "second_level"};
constexpr U8_field reported_level = {Message_id::backlight_report, "level"};

uchar level_of(double percent)
{
    if (percent > 100.0)
        return full_level;
    return static_cast<uchar>(std::floor(percent * full_level / 100.0 + 0.5));
}

} // namespace

Message backlight_command(double brightness)
{
    if (!(brightness >= 0.0)) // true for NaN, which has no level
        return blank_message(Message_id::backlight);
    const double whole = std::trunc(brightness);
    const double thousandths = std::isinf(brightness) ? 0.0 : (brightness - whole) * 1000.0;
    return message_with(level.is(level_of(whole)), second_level.is(level_of(thousandths)));
}

LCD_backlight_interface::LCD_backlight_interface(DBus_daemon* owner, const QString& relative_path)
    : Dimmable_interface(owner, relative_path, 100.0)
{
    register_object();
    send_traced("LCDBRIGET: ", message_with(level.is(query_level), second_level.is(query_level)));
}

bool LCD_backlight_interface::handle_message(const uchar* data, uint len)
{
    const auto brightness = reported_level.read_scaled(data, len);
    if (!brightness || len < message_size)
        return refuse(data, len);
    Console::out()
        .bytes("LCDBRIIN: ", Byte_style::lower_spaced, data, message_size)
        .format(": %.3f\n", *brightness);
    store_brightness(*brightness);
    return true;
}

void LCD_backlight_interface::apply_brightness(double val)
{
    store_brightness(val < 0.0 ? 0.0 : val);
    send_traced("LCDBRISET: ", backlight_command(val));
}
