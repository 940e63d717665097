#include "Controller_model.h"

#include "Message_catalogue.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr uchar query_level = 0xff;
constexpr uchar backlight_device = 0xfe;
constexpr uchar write_configuration = 0xaa;

/// Two bits of the digital output messages.
enum Output_code : uchar { no_information = 0, off = 1, on = 2, disabled = 3 };

bool is_command(uchar id)
{
    return std::any_of(std::begin(message_catalogue), std::end(message_catalogue),
                       [id](const Message_kind& kind) {
                           return kind.id == id && kind.direction == Direction::to_controller;
                       });
}

/// On the line OEM codes are one more than everywhere else.
QPair<uchar, uchar> configuration_key(uchar code_on_line, uchar offset)
{
    return {static_cast<uchar>(code_on_line - 1), offset};
}

} // namespace

std::optional<Message> Controller_model::receive(const Message& command, qint64 now_ms)
{
    if (!is_command(command[0]))
        return std::nullopt;
    carry_out(command, now_ms);
    const auto answer_id = static_cast<uchar>(command[0] + 1);
    if (answer_id == Message_id::configuration_report)
        return message(answer_id, command[1], command[2],
                       configuration_value(command[1], command[2]));
    return report(answer_id, now_ms);
}

void Controller_model::carry_out(const Message& command, qint64 now_ms)
{
    switch (command[0]) {
    case Message_id::power_setting:
        if (command[1] == 2 && command[2] == 2 && command[3] == 5)
            state.line_15_mode = 2;
        break;
    case Message_id::power_switch:
        if (command[2] == backlight_device)
            state.backlight_on = command[1] != 0;
        break;
    case Message_id::operating_voltage:
        state.operating_voltage = command[1];
        break;
    case Message_id::frequency_output:
        state.frequency_output = big_endian(&command[2]);
        break;
    case Message_id::configuration:
        if (command[4] == write_configuration)
            state.configuration[configuration_key(command[1], command[2])] = command[3];
        break;
    case Message_id::backlight:
        if (command[1] != query_level || command[2] != query_level)
            state.backlight_levels = {command[1], command[2]};
        break;
    case Message_id::digital_outputs:
        switch_outputs(command[2]);
        break;
    case Message_id::digest_request:
        set_digest_interval(command[1] * digest_unit_ms, now_ms);
        break;
    case Message_id::oem_code:
        state.oem_code = command[1];
        break;
    default:
        break;
    }
}

void Controller_model::switch_outputs(uchar codes)
{
    for (Output_state& output : state.outputs) {
        const auto code = static_cast<uchar>(codes & 3U);
        codes = static_cast<uchar>(codes >> 2U);
        if (code != no_information)
            output.enabled = code != disabled;
        if (code == on || code == off)
            output.on = code == on;
    }
}

std::optional<Message> Controller_model::report(uchar id, qint64 now_ms) const
{
    switch (id) {
    case Message_id::start_up_answer:
        return message(id);
    case Message_id::power_response:
        return message(id, state.line_15_mode, 0, 0, state.ignition);
    case Message_id::power_switch_answer:
        return message(id, state.backlight_on, backlight_device);
    case Message_id::operating_voltage_report:
        return message(id, state.operating_voltage);
    case Message_id::digital_inputs:
        return message(id, digital_bits(now_ms));
    case Message_id::hardware_version:
        return message(id, state.hardware);
    case Message_id::firmware_version:
        return message(id, 0, state.firmware[2], state.firmware[1], state.firmware[0]);
    case Message_id::unique_id:
        return unique_id();
    case Message_id::power_button:
        return message(id, state.button_down);
    case Message_id::analog_input:
        return millivolts(id, Input::analog, 1, now_ms);
    case Message_id::ambient_light:
        return millivolts(id, Input::light, 1, now_ms);
    case Message_id::voltages_low:
        return millivolts(id, Input::voltage, 3, now_ms);
    case Message_id::voltages_high:
        return millivolts(id, Input::voltage + 3, 3, now_ms);
    case Message_id::temperatures:
        return temperatures(now_ms);
    case Message_id::frequency_output_report:
        return message(id, 1, state.frequency_output >> 8U, state.frequency_output);
    case Message_id::configuration_report: {
        const auto code_on_line = static_cast<uchar>(state.oem_code + 1);
        constexpr uchar power_up_delay = 4;
        return message(id, code_on_line, power_up_delay,
                       configuration_value(code_on_line, power_up_delay));
    }
    case Message_id::backlight_report:
        return message(id, state.backlight_levels[0], state.backlight_levels[1]);
    case Message_id::digital_outputs_report:
        return message(id, 0, output_codes());
    case Message_id::digest:
        return digest(now_ms);
    case Message_id::oem_code_report:
        return message(id, state.oem_code);
    case Message_id::atx:
        return message(id);
    default:
        return std::nullopt;
    }
}

qint64 Controller_model::next_digest(qint64 time_ms) const
{
    if (state.digest_interval_ms == 0)
        return -1;
    const qint64 passed = std::max<qint64>(time_ms - state.digest_since_ms, 0);
    return state.digest_since_ms +
           (passed / state.digest_interval_ms + 1) * state.digest_interval_ms;
}

void Controller_model::set_digest_interval(qint64 interval_ms, qint64 now_ms)
{
    state.digest_interval_ms = interval_ms;
    state.digest_since_ms = now_ms;
}

int Controller_model::input(int position, qint64 now_ms) const
{
    const auto index = static_cast<std::size_t>(position);
    const Input_kind& kind = input_kinds()[index];
    const Waveform& waveform = state.inputs[index] ? *state.inputs[index] : kind.at_start;
    return static_cast<int>(std::lround(std::clamp(waveform.at(now_ms), kind.least, kind.most)));
}

uchar Controller_model::configuration_value(uchar code_on_line, uchar offset) const
{
    return state.configuration.value(configuration_key(code_on_line, offset));
}

uchar Controller_model::output_codes() const
{
    uint codes = 0;
    for (std::size_t i = 0; i < state.outputs.size(); ++i) {
        const Output_state& output = state.outputs[i];
        const uint code = !output.enabled ? disabled : output.on ? on : off;
        codes |= code << (2 * i);
    }
    return static_cast<uchar>(codes);
}

uchar Controller_model::digital_bits(qint64 now_ms) const
{
    uint bits = 0;
    for (int i = 0; i < Input::analog - Input::digital; ++i)
        bits |= static_cast<uint>(input(Input::digital + i, now_ms)) << static_cast<uint>(i);
    return static_cast<uchar>(bits);
}

Message Controller_model::millivolts(uchar id, int first, int count, qint64 now_ms) const
{
    Message result = message(id);
    uchar* at = &result[1];
    for (int i = first; i < first + count; ++i, at += 2)
        put_big_endian(at, static_cast<quint32>(input(i, now_ms)));
    return result;
}

Message Controller_model::temperatures(qint64 now_ms) const
{
    Message result = message(Message_id::temperatures);
    uchar* at = &result[1];
    for (int i = Input::temperature; i < Input::count; ++i)
        *at++ = static_cast<uchar>(input(i, now_ms));
    return result;
}

Message Controller_model::digest(qint64 now_ms) const
{
    Message result = message(Message_id::digest, digital_bits(now_ms));
    put_big_endian(&result[2], static_cast<quint32>(input(Input::analog, now_ms)));
    put_big_endian(&result[4], static_cast<quint32>(input(Input::light, now_ms)));
    put_big_endian(&result[6], static_cast<quint32>(input(Input::frequency, now_ms)));
    return result;
}

Message Controller_model::unique_id() const
{
    Message result = message(Message_id::unique_id);
    std::copy(state.unique_id.begin(), state.unique_id.end(), result.begin() + 1);
    return result;
}
