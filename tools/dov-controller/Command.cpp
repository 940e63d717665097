#include "Command.h"

#include "Bench_controller.h"
#include "Frame.h"
#include "Named_field.h"
#include "State_json.h"

#include <algorithm>

namespace {

using Shape = Waveform::Shape;

constexpr qint64 default_split_gap_ms = 20;

constexpr Flag_field pressed = {Message_id::power_button, "pressed"};
constexpr U8_field level = {Message_id::backlight_report, "level"};
constexpr U16_field frequency = {Message_id::frequency_output, "value"};
constexpr U8_field outputs = {Message_id::digital_outputs, "outputs"};

/// A number that a field can have.
template <class Value>
Value number_of(Words& words, const char* what, const Named_field<Value>& field)
{
    return static_cast<Value>(
        words.whole(what, static_cast<int>(field.row().least), static_cast<int>(field.row().most)));
}

/// A command that writes one value of the state.
template <class Value>
Action store(Value Controller_state::*member, Value value)
{
    return [member, value](Bench_controller& bench) { bench.model.state.*member = value; };
}

Action parse_generation(Words& words)
{
    QVector<QByteArray> names;
    for (const Generation& generation : generations)
        names.append(generation.name);
    const Generation& generation = generations[words.one_of(names)];
    return [&generation](Bench_controller& bench) {
        bench.model.state.hardware = generation.hardware;
        bench.model.state.firmware = generation.firmware;
    };
}

Action parse_hardware(Words& words)
{
    return store(&Controller_state::hardware, words.byte("a revision"));
}

Action parse_firmware(Words& words)
{
    const QList<QByteArray> parts = words.word("a version").split('.');
    std::array<uchar, 3> version{};
    bool good = parts.size() == 3;
    for (std::size_t i = 0; good && i < version.size(); ++i) {
        const uint part = parts[static_cast<int>(i)].toUInt(&good);
        good = good && part <= 255;
        version[i] = static_cast<uchar>(part);
    }
    if (!good)
        words.fail(QStringLiteral("a version is MAJOR.MINOR.PATCH, each from 0 to 255"));
    return store(&Controller_state::firmware, version);
}

Action parse_unique_id(Words& words)
{
    std::array<uchar, 7> id{};
    const int size = static_cast<int>(id.size());
    const QByteArray bytes = words.hex_bytes(size, size);
    std::copy_n(bytes.begin(), std::min(static_cast<int>(bytes.size()), size), id.begin());
    return store(&Controller_state::unique_id, id);
}

Action parse_ignition(Words& words)
{
    return [on = words.on_or_off()](Bench_controller& bench) {
        bench.model.state.ignition = on;
        bench.push_report(Message_id::power_response);
    };
}

Action parse_line15(Words& words)
{
    return store(&Controller_state::line_15_mode, words.byte("a mode"));
}

Action parse_button(Words& words)
{
    const int what = words.one_of({"press", "down", "up"});
    if (what > 0)
        return store(&Controller_state::button_down, what == 1);
    return [](Bench_controller& bench) { bench.push(message_with(pressed.is(true))); };
}

Action parse_atx(Words&)
{
    return [](Bench_controller& bench) { bench.push_report(Message_id::atx); };
}

Action parse_output(Words& words)
{
    const auto index =
        static_cast<std::size_t>(words.whole("an output", 0, outputs.row().count - 1));
    const int what = words.one_of({"off", "on", "disabled"});
    return [index, what](Bench_controller& bench) {
        Output_state& output = bench.model.state.outputs[index];
        output.enabled = what != 2;
        if (output.enabled)
            output.on = what == 1;
    };
}

Action parse_backlight(Words& words)
{
    const uchar first = number_of(words, "a level", level);
    const uchar second = words.at_end() ? first : number_of(words, "a level", level);
    return store(&Controller_state::backlight_levels, std::array<uchar, 2>{first, second});
}

Action parse_backlight_power(Words& words)
{
    return store(&Controller_state::backlight_on, words.on_or_off());
}

Action parse_operating_voltage(Words& words)
{
    return store(&Controller_state::operating_voltage, words.byte("a code"));
}

Action parse_frequency_output(Words& words)
{
    return store(&Controller_state::frequency_output, number_of(words, "a value", frequency));
}

Action parse_oem(Words& words)
{
    return store(&Controller_state::oem_code, words.byte("an OEM code"));
}

Action parse_configuration(Words& words)
{
    const uchar code = words.byte("an OEM code");
    const uchar offset = words.byte("an offset");
    const uchar value = words.byte("a value");
    return [=](Bench_controller& bench) {
        bench.model.state.configuration[{code, offset}] = value;
    };
}

/// A time above 0, or 0 for the word "off".
qint64 time_or_off(Words& words, const char* what)
{
    if (words.peek() == "off") {
        words.word(what);
        return 0;
    }
    const qint64 time_ms = words.time(what);
    if (time_ms == 0)
        words.fail(QLatin1String(what) + QStringLiteral(" is above 0, or off"));
    return time_ms;
}

Action parse_digest(Words& words)
{
    return [interval_ms = time_or_off(words, "an interval")](Bench_controller& bench) {
        bench.model.set_digest_interval(interval_ms, bench.now_ms());
        bench.follow_digest_interval();
    };
}

Waveform parse_waveform(Words& words, double least, double most)
{
    bool is_number = false;
    (void)words.peek().toDouble(&is_number);
    const auto shape =
        is_number ? Shape::constant : static_cast<Shape>(words.one_of(Waveform::shape_names()));
    const double low = words.number("a value", least, most);
    if (shape == Shape::constant)
        return Waveform::constant(low);
    const double high = words.number("a value", least, most);
    const qint64 period_ms = std::max<qint64>(words.time("a period"), 0);
    if (period_ms == 0)
        words.fail(QStringLiteral("a period is above 0"));
    if (shape != Shape::random)
        return Waveform::periodic(shape, low, high, period_ms);
    const int seed = words.at_end() ? 0 : words.whole("a seed", 0, std::numeric_limits<int>::max());
    return Waveform::random(low, high, period_ms, static_cast<quint32>(seed));
}

Action parse_input(Words& words)
{
    QVector<QByteArray> names;
    for (const Input_kind& kind : input_kinds())
        names.append(kind.name);
    const auto index = static_cast<std::size_t>(words.one_of(names));
    const Input_kind& kind = input_kinds()[index];
    const Waveform waveform = parse_waveform(words, kind.least, kind.most);
    return
        [index, waveform](Bench_controller& bench) { bench.model.state.inputs[index] = waveform; };
}

Action parse_report(Words& words)
{
    const uchar id = words.byte("an identifier");
    if (!words.has_failed() && !Controller_model().report(id, 0))
        words.fail(QStringLiteral("the controller reports nothing with this identifier"));
    return [id](Bench_controller& bench) { bench.push_report(id); };
}

Action parse_send(Words& words)
{
    const QByteArray bytes = words.hex_bytes(1, message_size);
    Message message{};
    std::copy_n(bytes.begin(), std::min(static_cast<int>(bytes.size()), message_size),
                message.begin());
    return [message](Bench_controller& bench) { bench.push(message); };
}

Action parse_bytes(Words& words)
{
    constexpr int most = 4096;
    return [bytes = words.hex_bytes(1, most)](Bench_controller& bench) { bench.send_bytes(bytes); };
}

Action parse_restart(Words&)
{
    return [](Bench_controller& bench) { bench.restart(); };
}

Action parse_silence(Words& words)
{
    if (const auto time_ms = Words::to_time(words.peek())) {
        words.word("a time");
        return [time = *time_ms](Bench_controller& bench) {
            bench.faults.set_silence_until(bench.now_ms() + time);
        };
    }
    return [silent = words.one_of({"on", "off", "a time"}) == 0](Bench_controller& bench) {
        bench.faults.set_silence(silent);
    };
}

Action parse_late(Words& words)
{
    return [late_ms = time_or_off(words, "a time")](Bench_controller& bench) {
        bench.faults.set_late(late_ms);
    };
}

Action parse_corrupt(Words& words)
{
    const int how = words.one_of({"next", "rate", "off"});
    constexpr int most_frames = 1000000;
    const int frames = how == 0 ? words.whole("a number of frames", 1, most_frames) : 0;
    const double percent = how == 1 ? words.number("a percentage", 0, 100) : 0;
    return [=](Bench_controller& bench) {
        bench.faults.set_corrupt_next(frames);
        // What is left of "next" comes on top of a rate that stands.
        if (how != 0)
            bench.faults.set_corrupt_percent(percent);
    };
}

Action parse_addresses(Words& words)
{
    std::optional<QPair<uchar, uchar>> addresses;
    if (words.peek() == "off") {
        words.word("off");
    } else {
        const uchar source = words.byte("a source address");
        addresses = {source, words.byte("a destination address")};
    }
    return [addresses](Bench_controller& bench) { bench.faults.set_addresses(addresses); };
}

Action parse_garbage(Words& words)
{
    constexpr int most = 4096;
    return [count = words.whole("a number of bytes", 1, most)](Bench_controller& bench) {
        bench.send_bytes(bench.faults.garbage(count));
    };
}

Action parse_split(Words& words)
{
    int size = 0;
    qint64 gap_ms = 0;
    if (words.peek() == "off") {
        words.word("off");
    } else {
        size = words.whole("a number of bytes", 1, Frame::size - 1);
        gap_ms = words.at_end() ? default_split_gap_ms : words.time("a gap");
    }
    return [=](Bench_controller& bench) { bench.faults.set_split(size, gap_ms); };
}

Action parse_double(Words& words)
{
    return [doubled = words.on_or_off()](Bench_controller& bench) {
        bench.faults.set_double(doubled);
    };
}

Action parse_disconnect(Words& words)
{
    if (words.at_end())
        return [](Bench_controller& bench) { bench.disconnect_line(); };
    return [time_ms = words.time("a time")](Bench_controller& bench) {
        bench.disconnect_line_for(time_ms);
    };
}

Action parse_connect(Words&)
{
    return [](Bench_controller& bench) { bench.connect_line(); };
}

Action parse_healthy(Words&)
{
    return [](Bench_controller& bench) {
        bench.faults.clear();
        bench.connect_line();
    };
}

Action parse_seed(Words& words)
{
    const int seed = words.whole("a seed", 0, std::numeric_limits<int>::max());
    return [seed](Bench_controller& bench) { bench.faults.set_seed(static_cast<quint32>(seed)); };
}

Action parse_state(Words& words)
{
    if (words.at_end())
        return [](Bench_controller& bench) { bench.print(bench.state_text()); };
    (void)words.one_of({"json"});
    return [](Bench_controller& bench) { bench.print(QString::fromUtf8(state_json(bench))); };
}

Action parse_quit(Words&)
{
    return [](Bench_controller& bench) { Q_EMIT bench.quit_asked(); };
}

} // namespace

const std::vector<Command_kind>& command_kinds()
{
    static const std::vector<Command_kind> kinds = {
        {"generation", "NAME", "hardware and firmware version of a generation", true,
         parse_generation},
        {"hardware", "REVISION", "hardware revision byte, 0 to 255", true, parse_hardware},
        {"firmware", "MAJOR.MINOR.PATCH", "firmware version", true, parse_firmware},
        {"unique-id", "HEX", "unique identifier, seven bytes", true, parse_unique_id},
        {"oem", "CODE", "OEM code in force", true, parse_oem},
        {"configuration", "CODE OFFSET VALUE", "configuration byte of an OEM code", true,
         parse_configuration},
        {"line15", "MODE", "line-15 mode", true, parse_line15},
        {"ignition", "on|off", "ignition; tells the host", true, parse_ignition},
        {"button", "press|down|up", "press: tells the host; down, up: for its polls", true,
         parse_button},
        {"input", "NAME VALUE|WAVEFORM", "what an input measures", true, parse_input},
        {"output", "NUMBER off|on|disabled", "digital output 0 to 3", true, parse_output},
        {"backlight", "LEVEL [LEVEL]", "display backlight, 254 is 100 %", true, parse_backlight},
        {"backlight-power", "on|off", "power of the display backlight", true,
         parse_backlight_power},
        {"operating-voltage", "CODE", "operating voltage code", true, parse_operating_voltage},
        {"frequency-output", "VALUE", "frequency output, 0 to 65535", true, parse_frequency_output},
        {"digest", "TIME|off", "interval of the digests, as if the host had asked", true,
         parse_digest},
        {"restart", "", "back to the state of the start; digests only if asked then", false,
         parse_restart},
        {"atx", "", "tells the host the ATX state", false, parse_atx},
        {"report", "ID", "tells the host any of the controller's messages", false, parse_report},
        {"send", "HEX", "sends a message of up to eight bytes in a frame", false, parse_send},
        {"bytes", "HEX", "sends bytes as they are", false, parse_bytes},
        {"silence", "on|off|TIME", "nothing is sent", true, parse_silence},
        {"late", "TIME|off", "answers come so much later", true, parse_late},
        {"corrupt", "next N|rate PERCENT|off", "wrong checksums", true, parse_corrupt},
        {"addresses", "SOURCE DESTINATION|off", "wrong addresses in every frame", true,
         parse_addresses},
        {"garbage", "COUNT", "sends a burst of random bytes", false, parse_garbage},
        {"split", "SIZE [TIME]|off", "frames in pieces of SIZE bytes, TIME (20ms) apart", true,
         parse_split},
        {"double", "on|off", "every answer twice", true, parse_double},
        {"disconnect", "[TIME]", "hangs up, for so long or until connect", false, parse_disconnect},
        {"connect", "", "opens the line again: a new pseudo terminal, or the device", false,
         parse_connect},
        {"healthy", "", "ends all faults, also a disconnection", false, parse_healthy},
        {"seed", "NUMBER", "what corruption and garbage are drawn from", true, parse_seed},
        {"state", "[json]", "prints the state, as commands or as one line of JSON", false,
         parse_state},
        {"quit", "", "ends the program", false, parse_quit},
    };
    return kinds;
}

Action parse_command(Words& words)
{
    const QByteArray name = words.word("a command");
    const auto& kinds = command_kinds();
    const auto kind = std::find_if(kinds.begin(), kinds.end(),
                                   [&name](const Command_kind& each) { return name == each.name; });
    if (kind == kinds.end()) {
        words.fail(QStringLiteral("there is no command \"%1\"").arg(QString::fromUtf8(name)));
        return {};
    }
    return parse_arguments(*kind, words);
}

Action parse_arguments(const Command_kind& kind, Words& words)
{
    Action action = kind.parse(words);
    words.expect_end();
    if (words.has_failed())
        return {};
    return action;
}
