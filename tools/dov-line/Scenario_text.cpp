#include "Scenario_text.h"

#include "Exchange.h"
#include "Message_text.h"
#include "Named_field.h"
#include "Poll.h"

#include <QSet>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr Flag_field power_switch = {Message_id::power_switch, "switch"};
constexpr U8_field power_device = {Message_id::power_switch, "device"};
constexpr U8_field voltage = {Message_id::operating_voltage, "code"};
constexpr U16_field frequency = {Message_id::frequency_output, "value"};
constexpr U8_field byte_code = {Message_id::configuration, "oem_code"};
constexpr U8_field byte_offset = {Message_id::configuration, "offset"};
constexpr U8_field byte_value = {Message_id::configuration, "value"};
constexpr U8_field access = {Message_id::configuration, "access"};
constexpr U8_field level = {Message_id::backlight, "level"};
constexpr U8_field second_level = {Message_id::backlight, "second_level"};
constexpr U8_field outputs = {Message_id::digital_outputs, "outputs"};
constexpr U8_field interval = {Message_id::digest_request, "interval"};
constexpr U8_field oem_code = {Message_id::oem_code, "code"};

constexpr qint64 us_per_ms = 1000;

/// The least whole percentage that is sent as a level; -1 for a level that none is sent as.
int percent_of(uchar wanted)
{
    for (int percent = 0; percent <= 100; ++percent) {
        if (std::lround(percent * full_level / 100.0) == wanted)
            return percent;
    }
    return -1;
}

// The call that makes the daemon send a message; empty when there is none.

QString backlight_call(const Message& message)
{
    const int percent = percent_of(level.of(message));
    const int thousandths = percent_of(second_level.of(message));
    if (percent < 0 || thousandths < 0)
        return {};
    return QStringLiteral("device/display/backlight set_brightness d:%1")
        .arg(percent + thousandths / 1000.0);
}

QString power_call(const Message& message)
{
    if (power_device.of(message) != display_backlight_device)
        return {};
    return QStringLiteral("device/display/backlight/power ") +
           (power_switch.of(message) ? QStringLiteral("resume") : QStringLiteral("suspend -> i:0"));
}

QString outputs_call(const Message& message)
{
    constexpr uint count = 4;
    for (uint output = 0; output < count; ++output) {
        const Output_code code = output_code(outputs.of(message), output);
        if (code == Output_code::no_information)
            continue;
        return QStringLiteral("device/io/output/digital/%1 set b:%2 b:%3")
            .arg(output)
            .arg(code == Output_code::off ? QStringLiteral("false") : QStringLiteral("true"),
                 code == Output_code::disabled ? QStringLiteral("false") : QStringLiteral("true"));
    }
    return {};
}

QString configuration_call(const Message& message)
{
    const QString place =
        QStringLiteral(" y:%1 y:%2").arg(byte_code.of(message)).arg(byte_offset.of(message));
    if (access.of(message) == static_cast<uchar>(Configuration_access::read))
        return QStringLiteral("configuration query") + place;
    return QStringLiteral("configuration set%1 y:%2").arg(place).arg(byte_value.of(message));
}

QString voltage_call(const Message& message)
{
    return QStringLiteral("device/operating_voltage set_operating_voltage u:%1")
        .arg(voltage.of(message));
}

QString frequency_call(const Message& message)
{
    return QStringLiteral("device/io/output/frequency/0 set u:%1").arg(frequency.of(message));
}

QString oem_code_call(const Message& message)
{
    return QStringLiteral("oem_profile set_code y:%1").arg(oem_code.of(message));
}

QString atx_call(const Message& /*message*/)
{
    return QStringLiteral("atx send_ack");
}

struct Cause {
    uchar id;
    QString (*call)(const Message&);
};

constexpr Cause causes[] = {
    {Message_id::power_switch, power_call},         {Message_id::operating_voltage, voltage_call},
    {Message_id::frequency_output, frequency_call}, {Message_id::configuration, configuration_call},
    {Message_id::backlight, backlight_call},        {Message_id::digital_outputs, outputs_call},
    {Message_id::oem_code, oem_code_call},          {Message_id::atx_acknowledge, atx_call},
};

QString call_of(const Message& message)
{
    const auto* cause = std::find_if(std::begin(causes), std::end(causes),
                                     [&](const Cause& each) { return each.id == message[0]; });
    return cause == std::end(causes) ? QString() : cause->call(message);
}

bool is_in(const uchar* begin, const uchar* end, uchar id)
{
    return std::find(begin, end, id) != end;
}

bool is_polled(uchar id)
{
    return is_in(std::begin(polled_requests), std::end(polled_requests), id) ||
           is_in(std::begin(version_requests), std::end(version_requests), id);
}

/// What the poll may send behind its requests, by what it has found out.
bool may_follow_poll(uchar id)
{
    return id == Message_id::power_setting || id == Message_id::configuration ||
           id == Message_id::oem_code;
}

QString hex(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.toHex(' '));
}

/// Behind the last request of the daemon's start; 0 when that is not there.
std::size_t end_of_start(const std::vector<Line_event>& events)
{
    std::size_t end = 0;
    bool has_start = false;
    for (std::size_t at = 0; at < events.size(); ++at) {
        if (!events[at].is_request())
            continue;
        has_start = has_start || events[at].id() == Message_id::start_up;
        const bool asks_for_digests = events[at].id() == Message_id::digest_request &&
                                      interval.of(Frame::message_of(events[at].bytes)) != 0;
        if (has_start && asks_for_digests)
            end = at + 1;
    }
    return end;
}

/// Takes the events one by one.
class Writer {
public:
    /// What is before this number belongs to the start.
    explicit Writer(quint64 first) : first_(first) {}

    void take(const Line_event& event)
    {
        if (event.is_request())
            take_request(event);
        else if (event.sender == Sender::controller && !event.bytes.isEmpty())
            take_controller(event);
    }

    const QStringList& lines() const { return lines_; }

private:
    void take_request(const Line_event& event)
    {
        const Message message = Frame::message_of(event.bytes);
        if (is_the_daemons_own(event)) {
            own_.insert(event.number);
            return;
        }
        const QString call = call_of(message);
        if (call.isEmpty()) {
            own_.insert(event.number);
            lines_.append(QStringLiteral("# %1: no call sends %2")
                              .arg(name_of(message[0]),
                                   hex(event.bytes.mid(Frame::payload_at, message_size))));
            return;
        }
        // A power switch is sent twice for one call.
        is_second_ = message[0] == Message_id::power_switch && message == last_ && !is_second_;
        if (!is_second_)
            lines_.append(QStringLiteral("call ") + call);
        lines_.append(QStringLiteral("< ") + hex(event.bytes.mid(Frame::payload_at, message_size)));
        last_ = message;
    }

    void take_controller(const Line_event& event)
    {
        const bool answers_own =
            event.partner != 0 && (event.partner < first_ || own_.contains(event.partner));
        if (answers_own)
            return;
        if (event.is_frame() && event.has_right_addresses())
            lines_.append(QStringLiteral("> ") +
                          hex(event.bytes.mid(Frame::payload_at, message_size)));
        else
            lines_.append(QStringLiteral("raw ") + hex(event.bytes));
    }

    /// Whether the daemon sends it without being called.
    bool is_the_daemons_own(const Line_event& event)
    {
        constexpr qint64 at_once_us = 20 * us_per_ms;
        const bool follows_poll = may_follow_poll(event.id()) && poll_end_us_ >= 0 &&
                                  event.begin_us - poll_end_us_ <= at_once_us;
        if (!is_polled(event.id()) && !follows_poll)
            return event.id() == Message_id::digest_request;
        poll_end_us_ = event.fate == Line_event::Fate::answered
                           ? event.end_us + event.response_us
                           : event.end_us + response_time_ms * us_per_ms;
        return true;
    }

    quint64 first_;
    QStringList lines_;
    QSet<quint64> own_; ///< requests that are left out
    Message last_{};
    bool is_second_ = false;
    qint64 poll_end_us_ = -1;
};

} // namespace

QStringList scenario_of(const std::vector<Line_event>& events)
{
    const std::size_t begin = end_of_start(events);
    Writer writer(begin < events.size() ? events[begin].number : 0);
    for (std::size_t at = begin; at < events.size(); ++at)
        writer.take(events[at]);
    return QStringList{QStringLiteral("line")} + writer.lines();
}
