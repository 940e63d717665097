#include "State_json.h"

#include "Bench_controller.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

QJsonObject waveform_json(const Waveform& waveform)
{
    QJsonObject json{
        {QStringLiteral("shape"),
         QString::fromLatin1(Waveform::shape_names()[static_cast<int>(waveform.shape())])},
        {QStringLiteral("low"), waveform.low()},
        {QStringLiteral("high"), waveform.high()},
    };
    if (waveform.shape() != Waveform::Shape::constant)
        json.insert(QStringLiteral("period_ms"), waveform.period_ms());
    if (waveform.shape() == Waveform::Shape::random)
        json.insert(QStringLiteral("seed"), static_cast<qint64>(waveform.seed()));
    return json;
}

QJsonArray inputs_json(const Bench_controller& bench)
{
    QJsonArray inputs;
    for (int i = 0; i < Input::count; ++i) {
        const Input_kind& kind = input_kinds()[static_cast<std::size_t>(i)];
        inputs.append(QJsonObject{
            {QStringLiteral("name"), QString::fromLatin1(kind.name)},
            {QStringLiteral("unit"), QString::fromUtf8(kind.unit)},
            {QStringLiteral("least"), kind.least},
            {QStringLiteral("most"), kind.most},
            {QStringLiteral("value"), bench.model.input(i, bench.now_ms())},
            {QStringLiteral("waveform"), waveform_json(bench.model.waveform(i))},
        });
    }
    return inputs;
}

QJsonArray outputs_json(const Controller_state& state)
{
    QJsonArray outputs;
    for (const Output_state& output : state.outputs)
        outputs.append(QJsonObject{{QStringLiteral("on"), output.on},
                                   {QStringLiteral("enabled"), output.enabled}});
    return outputs;
}

QJsonArray configuration_json(const Controller_state& state)
{
    auto keys = state.configuration.keys();
    std::sort(keys.begin(), keys.end());
    QJsonArray configuration;
    for (const auto& key : keys)
        configuration.append(QJsonArray{key.first, key.second, state.configuration.value(key)});
    return configuration;
}

/// The generation of which the versions are; null when it is none's.
QJsonValue generation_json(const Controller_state& state)
{
    const auto* const generation =
        std::find_if(std::begin(generations), std::end(generations), [&](const Generation& each) {
            return each.hardware == state.hardware && each.firmware == state.firmware;
        });
    return generation == std::end(generations) ? QJsonValue()
                                               : QString::fromLatin1(generation->name);
}

QJsonArray generations_json()
{
    QJsonArray names;
    for (const Generation& generation : generations)
        names.append(QString::fromLatin1(generation.name));
    return names;
}

QJsonObject faults_json(const Bench_controller& bench)
{
    const Faults::Settings& faults = bench.faults.settings();
    const auto& addresses = faults.addresses;
    return {
        {QStringLiteral("silence"), bench.faults.is_silent(bench.now_ms())},
        {QStringLiteral("late_ms"), faults.late_ms},
        {QStringLiteral("corrupt_next"), faults.corrupt_next},
        {QStringLiteral("corrupt_percent"), faults.corrupt_percent},
        {QStringLiteral("addresses"),
         addresses ? QJsonValue(QJsonArray{addresses->first, addresses->second}) : QJsonValue()},
        {QStringLiteral("split_size"), faults.split_size},
        {QStringLiteral("split_gap_ms"), faults.split_gap_ms},
        {QStringLiteral("double"), faults.doubled},
        {QStringLiteral("disconnected"), !bench.line().is_open()},
    };
}

QJsonObject counters_json(const Bench_controller& bench)
{
    const Bench_controller::Counters counters = bench.counters();
    return {
        {QStringLiteral("commands"), counters.commands},
        {QStringLiteral("sent_bytes"), counters.sent},
        {QStringLiteral("ignored_bytes"), counters.ignored},
        {QStringLiteral("lost_bytes"), counters.lost},
    };
}

} // namespace

QByteArray state_json(const Bench_controller& bench)
{
    const Controller_state& state = bench.model.state;
    const QByteArray unique_id(reinterpret_cast<const char*>(state.unique_id.data()),
                               static_cast<int>(state.unique_id.size()));
    const QJsonObject json{
        {QStringLiteral("generation"), generation_json(state)},
        {QStringLiteral("generations"), generations_json()},
        {QStringLiteral("hardware"), state.hardware},
        {QStringLiteral("firmware"), QStringLiteral("%1.%2.%3")
                                         .arg(state.firmware[0])
                                         .arg(state.firmware[1])
                                         .arg(state.firmware[2])},
        {QStringLiteral("unique_id"), QString::fromLatin1(unique_id.toHex())},
        {QStringLiteral("ignition"), state.ignition},
        {QStringLiteral("line15"), state.line_15_mode},
        {QStringLiteral("button_down"), state.button_down},
        {QStringLiteral("inputs"), inputs_json(bench)},
        {QStringLiteral("outputs"), outputs_json(state)},
        {QStringLiteral("backlight"),
         QJsonArray{state.backlight_levels[0], state.backlight_levels[1]}},
        {QStringLiteral("backlight_power"), state.backlight_on},
        {QStringLiteral("operating_voltage"), state.operating_voltage},
        {QStringLiteral("frequency_output"), state.frequency_output},
        {QStringLiteral("oem"), state.oem_code},
        {QStringLiteral("configuration"), configuration_json(state)},
        {QStringLiteral("digest_ms"), state.digest_interval_ms},
        {QStringLiteral("device"), bench.line().device()},
        {QStringLiteral("faults"), faults_json(bench)},
        {QStringLiteral("counters"), counters_json(bench)},
    };
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}
