#include "Controller_model.h"

#include "Message_catalogue.h"
#include "Named_field.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr U8_field setting = {Message_id::power_setting, "setting"};
constexpr U8_field setting_mode = {Message_id::power_setting, "mode"};
constexpr U8_field setting_with = {Message_id::power_setting, "with"};
constexpr U8_field line_15_mode = {Message_id::power_response, "line_15_mode"};
constexpr Flag_field ignition = {Message_id::power_response, "ignition"};
constexpr Flag_field power_switch = {Message_id::power_switch, "switch"};
constexpr U8_field power_device = {Message_id::power_switch, "device"};
constexpr Flag_field switched = {Message_id::power_switch_answer, "switch"};
constexpr U8_field switched_device = {Message_id::power_switch_answer, "device"};
constexpr U8_field voltage_code = {Message_id::operating_voltage, "code"};
constexpr U8_field reported_voltage_code = {Message_id::operating_voltage_report, "code"};
constexpr U8_field digital_inputs = {Message_id::digital_inputs, "inputs"};
constexpr U8_field revision = {Message_id::hardware_version, "revision"};
constexpr Long_field firmware = {Message_id::firmware_version, "firmware"};
constexpr Long_field unique_id = {Message_id::unique_id, "identifier"};
constexpr Flag_field pressed = {Message_id::power_button, "pressed"};
constexpr U16_field frequency_output = {Message_id::frequency_output, "value"};
constexpr U16_field reported_frequency = {Message_id::frequency_output_report, "value"};
constexpr U8_field wanted_oem_code = {Message_id::configuration, "oem_code"};
constexpr U8_field wanted_offset = {Message_id::configuration, "offset"};
constexpr U8_field wanted_value = {Message_id::configuration, "value"};
constexpr U8_field access = {Message_id::configuration, "access"};
constexpr U8_field told_oem_code = {Message_id::configuration_report, "oem_code"};
constexpr U8_field told_offset = {Message_id::configuration_report, "offset"};
constexpr U8_field told_value = {Message_id::configuration_report, "value"};
constexpr U8_field level = {Message_id::backlight, "level"};
constexpr U8_field second_level = {Message_id::backlight, "second_level"};
constexpr U8_field reported_level = {Message_id::backlight_report, "level"};
constexpr U8_field reported_second_level = {Message_id::backlight_report, "second_level"};
constexpr U8_field outputs = {Message_id::digital_outputs, "outputs"};
constexpr U8_field reported_outputs = {Message_id::digital_outputs_report, "outputs"};
constexpr U8_field interval = {Message_id::digest_request, "interval"};
constexpr U8_field digest_inputs = {Message_id::digest, "inputs"};
constexpr U16_field digest_analog = {Message_id::digest, "analog"};
constexpr U16_field digest_light = {Message_id::digest, "light"};
constexpr U16_field digest_frequency = {Message_id::digest, "frequency"};
constexpr U8_field oem_code = {Message_id::oem_code, "code"};
constexpr U8_field oem_code_in_force = {Message_id::oem_code_report, "code"};

/// Bytes of which the first is the highest.
template <class Bytes>
qint64 one_number(const Bytes& bytes)
{
    qint64 number = 0;
    for (const uchar byte : bytes)
        number = number << 8 | byte;
    return number;
}

qint64 interval_of(const Message& command)
{
    return static_cast<qint64>(interval.scaled(interval.of(command)));
}

bool sets_line_15(const Message& command)
{
    return setting.of(command) == static_cast<uchar>(Power_setting::line_15) &&
           setting_mode.of(command) == remote_line_15_mode &&
           setting_with.of(command) == line_15_setting_end;
}

} // namespace

std::optional<Message> Controller_model::receive(const Message& command, qint64 now_ms)
{
    if (!is_request(command[0]))
        return std::nullopt;
    carry_out(command, now_ms);
    if (command[0] == Message_id::configuration)
        return configuration_byte(wanted_oem_code.of(command), wanted_offset.of(command));
    return report(answer_to(command[0]), now_ms);
}

void Controller_model::carry_out(const Message& command, qint64 now_ms)
{
    switch (command[0]) {
    case Message_id::power_setting:
        if (sets_line_15(command))
            state.line_15_mode = remote_line_15_mode;
        break;
    case Message_id::power_switch:
        if (power_device.of(command) == display_backlight_device)
            state.backlight_on = power_switch.of(command);
        break;
    case Message_id::operating_voltage:
        state.operating_voltage = voltage_code.of(command);
        break;
    case Message_id::frequency_output:
        state.frequency_output = frequency_output.of(command);
        break;
    case Message_id::configuration:
        if (access.of(command) == static_cast<uchar>(Configuration_access::write))
            state.configuration[{wanted_oem_code.of(command), wanted_offset.of(command)}] =
                wanted_value.of(command);
        break;
    case Message_id::backlight:
        if (level.of(command) != query_level || second_level.of(command) != query_level)
            state.backlight_levels = {level.of(command), second_level.of(command)};
        break;
    case Message_id::digital_outputs:
        switch_outputs(outputs.of(command));
        break;
    case Message_id::digest_request:
        set_digest_interval(interval_of(command), now_ms);
        break;
    case Message_id::oem_code:
        state.oem_code = oem_code.of(command);
        break;
    default:
        break;
    }
}

void Controller_model::switch_outputs(uchar codes)
{
    for (uint i = 0; i < state.outputs.size(); ++i) {
        Output_state& output = state.outputs[i];
        const Output_code code = output_code(codes, i);
        if (code != Output_code::no_information)
            output.enabled = code != Output_code::disabled;
        if (code == Output_code::on || code == Output_code::off)
            output.on = code == Output_code::on;
    }
}

std::optional<Message> Controller_model::report(uchar id, qint64 now_ms) const
{
    switch (id) {
    case Message_id::start_up_answer:
    case Message_id::atx:
        return blank_message(id);
    case Message_id::power_response:
        return message_with(line_15_mode.is(state.line_15_mode), ignition.is(state.ignition));
    case Message_id::power_switch_answer:
        return message_with(switched.is(state.backlight_on),
                            switched_device.is(display_backlight_device));
    case Message_id::operating_voltage_report:
        return message_with(reported_voltage_code.is(state.operating_voltage));
    case Message_id::digital_inputs:
        return message_with(digital_inputs.is(digital_bits(now_ms)));
    case Message_id::hardware_version:
        return message_with(revision.is(state.hardware));
    case Message_id::firmware_version:
        return message_with(firmware.is(one_number(state.firmware)));
    case Message_id::unique_id:
        return message_with(unique_id.is(one_number(state.unique_id)));
    case Message_id::power_button:
        return message_with(pressed.is(state.button_down));
    case Message_id::analog_input:
        return measured(id, Input::analog, now_ms);
    case Message_id::ambient_light:
        return measured(id, Input::light, now_ms);
    case Message_id::voltages_low:
        return measured(id, Input::voltage, now_ms);
    case Message_id::voltages_high:
        return measured(id, Input::voltage + 3, now_ms);
    case Message_id::temperatures:
        return measured(id, Input::temperature, now_ms);
    case Message_id::frequency_output_report:
        return message_with(reported_frequency.is(state.frequency_output));
    case Message_id::configuration_report:
        return configuration_byte(state.oem_code, power_up_delay_offset);
    case Message_id::backlight_report:
        return message_with(reported_level.is(state.backlight_levels[0]),
                            reported_second_level.is(state.backlight_levels[1]));
    case Message_id::digital_outputs_report:
        return message_with(reported_outputs.is(output_codes()));
    case Message_id::digest:
        return digest(now_ms);
    case Message_id::oem_code_report:
        return message_with(oem_code_in_force.is(state.oem_code));
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

const Waveform& Controller_model::waveform(int position) const
{
    const auto index = static_cast<std::size_t>(position);
    return state.inputs[index] ? *state.inputs[index] : input_kinds()[index].at_start;
}

int Controller_model::input(int position, qint64 now_ms) const
{
    const Input_kind& kind = input_kinds()[static_cast<std::size_t>(position)];
    const double value = waveform(position).at(now_ms);
    return static_cast<int>(std::lround(std::clamp(value, kind.least, kind.most)));
}

Message Controller_model::configuration_byte(uchar code, uchar offset) const
{
    return message_with(told_oem_code.is(code), told_offset.is(offset),
                        told_value.is(state.configuration.value({code, offset})));
}

uchar Controller_model::output_codes() const
{
    uint codes = 0;
    for (uint i = 0; i < state.outputs.size(); ++i) {
        const Output_state& output = state.outputs[i];
        codes |= output_bits(output_code_of(output.on, output.enabled), i);
    }
    return static_cast<uchar>(codes);
}

uchar Controller_model::digital_bits(qint64 now_ms) const
{
    uint bits = 0;
    for (int i = Input::digital; i < Input::analog; ++i)
        bits |= input_bits(input(i, now_ms) != 0, static_cast<uint>(i - Input::digital));
    return static_cast<uchar>(bits);
}

Message Controller_model::measured(uchar id, int position, qint64 now_ms) const
{
    Message result = blank_message(id);
    for (const Field& field : fields_of(id))
        field.put(result, input(position++, now_ms));
    return result;
}

Message Controller_model::digest(qint64 now_ms) const
{
    return message_with(digest_inputs.is(digital_bits(now_ms)),
                        digest_analog.is(input(Input::analog, now_ms)),
                        digest_light.is(input(Input::light, now_ms)),
                        digest_frequency.is(input(Input::frequency, now_ms)));
}
