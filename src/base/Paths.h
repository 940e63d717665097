#pragma once

/// Every absolute path and shell command of the program.
///
/// Defined once in Paths.cpp, which holds nothing else: a program that defines paths() itself,
/// as the test build does, never pulls that definition out of the library.
struct Paths {
    const char* controller_port; ///< default of the daemon's --port
    const char* simulator_port;  ///< the simulator's end of the line
    const char* power_config;    ///< XML, read once at start-up
    const char* oem_profile;     ///< XML, read once at start-up
    const char* input_activity;  ///< marker of a touched screen: tested for and removed
    const char* media_directory; ///< ends in '/': entry names are appended as they are
    const char* buzzer_sound;    ///< the buzzer's first sound file
    const char* buzzer_cleanup;  ///< shell: removes the marker of the sounding buzzer
    const char* poweroff;        ///< shell: switches the terminal off
    const char* kernel_version;  ///< prints kernel release and board-support version
    const char* serial_number;   ///< prints the terminal's serial number
    const char* part_number;     ///< prints part number, platform code and brand code
};

const Paths& paths();
