#pragma once

#include "Dimmable_interface.h"
#include "Message.h"

/// The command for a brightness in percent. The whole part gives the first level, the first three
/// decimals, as thousandths, the second; a level above 100 becomes 0xfe. Below 0.0, and for NaN,
/// both levels are 0. Infinity has no decimals: 0xfe and 0.
Message backlight_command(double brightness);

/// The display backlight, at "device/display/backlight".
///
/// Command  0x31, bytes 1 and 2: levels 0 to 254; 0xff in both asks for the report.
/// Source   0x32, byte 1: level 0 to 254.
/// State    percent, as last set or reported; 100.0 until then. A value below 0.0 is kept
///          as 0.0, any other as given, a NaN as well.
class LCD_backlight_interface : public Dimmable_interface {
    Q_OBJECT
public:
    /// Asks for the report.
    LCD_backlight_interface(DBus_daemon* owner, const QString& relative_path);

    bool handle_message(const uchar* data, uint len) override;

protected:
    void apply_brightness(double val) override;
};
