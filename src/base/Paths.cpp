#include "Paths.h"

const Paths& paths()
{
    static constexpr Paths real = {
        "/dev/ttyUSB0",
        "/dev/ttyUSB1",
        "/etc/power_manage.conf",
        "/etc/oem_profile.conf",
        "/tmp/input_activity",
        "/media/",
        "/etc/buzzer.wav",
        "rm /tmp/.buzzer_on 2>/dev/null",
        "systemctl poweroff --no-block",
        R"(sh -c "echo `uname -r`-v`cat /etc/bsp_version_short`")",
        "cat /nv/info/SERIAL_NUMBER",
        R"(sh -c "cat /nv/info/PART_NUMBER ; echo -n -e "," ; cat /nv/info/VEHICLE_PLATFORM_CODE ; )"
        R"(echo -n -e ",";cat /nv/info/BRAND_CODE")",
    };
    return real;
}
