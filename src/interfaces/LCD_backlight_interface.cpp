#include "LCD_backlight_interface.h"

#include "Console.h"
#include "Message_id.h"

#include <cmath>

namespace {

constexpr uchar out_of_range_level = 0xFE;
constexpr double percent_per_level = 0.3937007874015748; // 100 / 254

uchar level(double percent)
{
    if (percent > 100.0)
        return out_of_range_level;
    return static_cast<uchar>(std::floor(percent * 254.0 / 100.0 + 0.5));
}

} // namespace

Message backlight_command(double brightness)
{
    if (!(brightness >= 0.0)) // true for NaN, which has no level
        return message(Message_id::backlight, 0, 0);
    const double whole = std::trunc(brightness);
    const double thousandths = std::isinf(brightness) ? 0.0 : (brightness - whole) * 1000.0;
    return message(Message_id::backlight, level(whole), level(thousandths));
}

LCD_backlight_interface::LCD_backlight_interface(DBus_daemon* owner, const QString& relative_path)
    : Dimmable_interface(owner, relative_path, 100.0)
{
    register_object();
    send_traced("LCDBRIGET: ", message(Message_id::backlight, 0xFF, 0xFF));
}

bool LCD_backlight_interface::handle_message(const uchar* data, uint len)
{
    constexpr uint traced = 8;
    if (len < traced || data[0] != Message_id::backlight_report)
        return refuse(data, len);
    const double brightness = data[1] * percent_per_level;
    Console::out()
        .bytes("LCDBRIIN: ", Byte_style::lower_spaced, data, traced)
        .format(": %.3f\n", brightness);
    store_brightness(brightness);
    return true;
}

void LCD_backlight_interface::apply_brightness(double val)
{
    send_traced("LCDBRISET: ", backlight_command(val));
    store_brightness(val < 0.0 ? 0.0 : val);
}
