#pragma once

#include "Dimmable_interface.h"
#include "Message.h"

/// The command for a brightness in percent. The whole part gives the first level, the first three
/// decimals, as thousandths, the second; a level above 100 is sent as 100. Below 0.0, and for NaN,
/// both levels are 0. Infinity has no decimals: 100 and 0.
Message backlight_command(double brightness);

/// The display backlight, at "device/display/backlight".
///
/// Command  0x31: both levels, or the query that asks for the report.
/// Source   0x32: the first level.
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
