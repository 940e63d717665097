#pragma once

#include "Inputs.h"
#include "Message.h"

#include <QHash>
#include <QPair>
#include <QVector>

#include <array>
#include <optional>

/// What a generation of controllers tells of itself.
struct Generation {
    const char* name;
    uchar hardware;                ///< revision byte
    std::array<uchar, 3> firmware; ///< major, minor, patch
    const char* meaning;
};

/// The generations that hosts treat differently; the last is played at the start.
constexpr Generation generations[] = {
    {"legacy", 11, {1, 5, 0}, "hardware v1.1, firmware v1.5.0"},
    {"legacy-hardware", 11, {2, 1, 0}, "hardware v1.1, firmware v2.1.0"},
    {"legacy-firmware", 20, {1, 5, 0}, "hardware v2.0, firmware v1.5.0"},
    {"profile", 20, {2, 1, 7}, "hardware v2.0, firmware v2.1.7, OEM profiles"},
};

/// One digital output.
struct Output_state {
    bool on = false;
    bool enabled = true;
};

/// All that a controller keeps, whether commands change it or only its surroundings do.
struct Controller_state {
    uchar hardware = 20;
    std::array<uchar, 3> firmware = {2, 1, 7}; ///< major, minor, patch
    std::array<uchar, 7> unique_id = {0x00, 0x1f, 0xa0, 0xff, 0x01, 0x02, 0x03};

    bool ignition = true;
    uchar line_15_mode = 1;
    bool button_down = false;

    std::array<Output_state, 4> outputs;
    std::array<uchar, 2> backlight_levels = {254, 254}; ///< 254 is 100 %
    bool backlight_on = true;
    uchar operating_voltage = 0;
    quint16 frequency_output = 0;
    uchar oem_code = 255;
    /// By OEM code and offset; one that was never set is 0.
    QHash<QPair<uchar, uchar>, uchar> configuration;

    /// By position in Input; none stands for the waveform of the start.
    std::array<std::optional<Waveform>, Input::count> inputs;

    qint64 digest_interval_ms = 0; ///< 0: no digests are pushed
    qint64 digest_since_ms = 0;    ///< when the interval was set
};

/// The controller without a line: a message in, its answers out. Knows no clock: every operation
/// that depends on the time is told it, in milliseconds since the controller came up.
class Controller_model {
public:
    Controller_state state;

    /// Carries out a host's command. Returns its answer, identifier + 1, or none for a message
    /// that is no command of the catalogue.
    std::optional<Message> receive(const Message& command, qint64 now_ms);

    /// The message with which the controller tells `id`, as it is at a time; none for an
    /// identifier that is not the controller's.
    std::optional<Message> report(uchar id, qint64 now_ms) const;

    /// When the next digest after `time_ms` is due, or -1.
    qint64 next_digest(qint64 time_ms) const;

    void set_digest_interval(qint64 interval_ms, qint64 now_ms);

    /// What an input's value is taken from.
    const Waveform& waveform(int position) const;

    /// An input's value at a time, rounded and cut to what the messages can carry.
    int input(int position, qint64 now_ms) const;

private:
    void carry_out(const Message& command, qint64 now_ms);
    void switch_outputs(uchar codes);
    uchar output_codes() const;
    uchar digital_bits(qint64 now_ms) const;
    Message configuration_byte(uchar code, uchar offset) const;
    /// The message whose fields are the inputs from a position on.
    Message measured(uchar id, int position, qint64 now_ms) const;
    Message digest(qint64 now_ms) const;
};
