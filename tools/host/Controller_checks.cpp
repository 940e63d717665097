#include "Controller_checks.h"

#include "Explanation.h"
#include "Frame.h"
#include "Message_text.h"
#include "Named_field.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr U8_field setting = {Message_id::power_setting, "setting"};
constexpr Flag_field power_switch = {Message_id::power_switch, "switch"};
constexpr U8_field power_device = {Message_id::power_switch, "device"};
constexpr U8_field oem_code_of_byte = {Message_id::configuration, "oem_code"};
constexpr U8_field offset = {Message_id::configuration, "offset"};
constexpr U8_field byte_value = {Message_id::configuration, "value"};
constexpr U8_field access = {Message_id::configuration, "access"};
constexpr U8_field told_oem_code = {Message_id::configuration_report, "oem_code"};
constexpr U8_field told_offset = {Message_id::configuration_report, "offset"};
constexpr U8_field told_value = {Message_id::configuration_report, "value"};
constexpr U8_field level = {Message_id::backlight, "level"};
constexpr U8_field second_level = {Message_id::backlight, "second_level"};
constexpr U8_field told_level = {Message_id::backlight_report, "level"};
constexpr U8_field told_second_level = {Message_id::backlight_report, "second_level"};
constexpr U8_field outputs = {Message_id::digital_outputs, "outputs"};
constexpr U8_field told_outputs = {Message_id::digital_outputs_report, "outputs"};
constexpr U8_field interval = {Message_id::digest_request, "interval"};
constexpr U8_field oem_code = {Message_id::oem_code, "code"};

constexpr double us_per_ms = 1000;

/// Of a terminal that has no profile.
constexpr uchar no_profile = 255;

constexpr Message read_of_byte(uchar at)
{
    return message_with(oem_code_of_byte.is(no_profile), offset.is(at),
                        access.is(Configuration_access::read));
}

constexpr Message write_of_byte(uchar at, uchar value)
{
    return message_with(oem_code_of_byte.is(no_profile), offset.is(at), byte_value.is(value),
                        access.is(Configuration_access::write));
}

constexpr Message backlight_query =
    message_with(level.is(query_level), second_level.is(query_level));

constexpr Message digest_every(int intervals)
{
    return message_with(interval.is(intervals));
}

/// A request in a form that does the least, and whether that still changes something.
struct Probe {
    Message request;
    bool changes;
};

/// Every request of the protocol.
constexpr Probe probes[] = {
    {message(Message_id::hardware_version_request), false},
    {message(Message_id::firmware_version_request), false},
    {message(Message_id::unique_id_request), false},
    {message(Message_id::power_button_poll), false},
    {message(Message_id::voltages_low_poll), false},
    {message(Message_id::voltages_high_poll), false},
    {message(Message_id::temperatures_poll), false},
    {read_of_byte(power_up_delay_offset), false},
    {backlight_query, false},
    {message(Message_id::digital_outputs), false}, // says nothing of any output
    {digest_every(2), false},
    {message(Message_id::start_up), true},
    {message_with(setting.is(Power_setting::start_up)), true},
    {message_with(power_switch.is(true), power_device.is(display_backlight_device)), true},
    {message(Message_id::operating_voltage), true},
    {blank_message(Message_id::frequency_output), true},
    {message_with(oem_code.is(no_profile)), true},
    {message(Message_id::atx_acknowledge), true},
};

constexpr bool probes_have(uchar id)
{
    int count = 0;
    for (const Probe& probe : probes)
        count += probe.request[0] == id ? 1 : 0;
    return count == 1;
}

constexpr bool probes_are_complete()
{
    for (const Message_kind& kind : message_catalogue) {
        if (is_request(kind.id) && !probes_have(kind.id))
            return false;
    }
    return true;
}
static_assert(probes_are_complete(), "each request of the catalogue has one probe");

constexpr Message a_request = message(Message_id::firmware_version_request);
constexpr Message another_request = message(Message_id::hardware_version_request);

Verdict failed(const QString& text)
{
    return {Verdict::Kind::failed, text};
}

Verdict left_out(const QString& text)
{
    return {Verdict::Kind::left_out, text};
}

/// What this end cannot tell: it stood still at the time that matters, again and again.
Verdict unjudged(const QString& text)
{
    return {Verdict::Kind::unjudged, text + QStringLiteral(": this machine did not look in time")};
}

/// How often is looked again when this machine did not look in time.
constexpr int most_looks = 5;

QString milliseconds(double ms)
{
    return QString::number(ms, 'f', 2) + QStringLiteral(" ms");
}

QString unanswered(const Examiner& examiner, const Message& request)
{
    const QString text = QStringLiteral("no %1 within %2 ms of %3")
                             .arg(name_of(answer_to(request[0])))
                             .arg(examiner.wait_ms())
                             .arg(name_of(request[0]));
    return examiner.answer_ms() < 0
               ? text
               : text + QStringLiteral(", but after ") + milliseconds(examiner.answer_ms());
}

QString hex(const Message& message)
{
    return QString::fromLatin1(
        QByteArray(reinterpret_cast<const char*>(message.data()), message_size).toHex(' '));
}

/// That the last thing that was done has harmed nothing: a request is answered.
Verdict answers_after(Examiner& examiner, const QString& what)
{
    return examiner.ask(a_request)
               ? Verdict{}
               : failed(unanswered(examiner, a_request) + QStringLiteral(", ") + what);
}

/// The answer to a request, when what it says matters: one that is given twice must not be taken
/// for the next one.
std::optional<Message> fresh_answer(Examiner& examiner, const Message& request)
{
    constexpr int pause_ms = 50;
    examiner.dialogue.pass(pause_ms);
    return examiner.ask(request);
}

// answer, layout

std::optional<Message> answer_to_probe(Examiner& examiner, const Probe& probe)
{
    if (probe.request[0] == Message_id::digest_request)
        examiner.put_back(digest_every(0));
    return examiner.answer_to_once(probe.request);
}

Verdict answer(Examiner& examiner, const Probe& probe)
{
    for (int look = 0; look < most_looks; ++look) {
        examiner.forget(probe.request);
        if (!answer_to_probe(examiner, probe))
            return failed(unanswered(examiner, probe.request));
        if (examiner.is_in_time())
            return {Verdict::Kind::passed, milliseconds(examiner.answer_ms())};
    }
    return unjudged(QStringLiteral("an answer within ") + milliseconds(examiner.answer_ms()));
}

/// What is wrong with a message of the controller's; empty for nothing. Fields that the host does
/// not look at may be anything.
QString layout_fault(const Message& message)
{
    std::array<bool, message_size> used = {true};
    for (const Field& field : fields_of(message[0])) {
        for (uint at = field.first; at < field.end(); ++at)
            used[at] = true;
        const qint64 number = field.get(message.data());
        if (field.role == Field_role::value && !field.may_be(number))
            return QStringLiteral("%1: %2 is %3, which is not in %4 to %5")
                .arg(hex(message), QLatin1String(field.name))
                .arg(number)
                .arg(field.least)
                .arg(field.most);
    }
    for (std::size_t at = 0; at < used.size(); ++at) {
        if (!used[at] && message[at] != 0)
            return QStringLiteral("%1: byte %2 belongs to no field and is not 0")
                .arg(hex(message))
                .arg(at);
    }
    return {};
}

Verdict layout(Examiner& examiner, const Probe& probe)
{
    const auto told = answer_to_probe(examiner, probe);
    if (!told)
        return left_out(QStringLiteral("no answer to look at"));
    const QString fault = layout_fault(*told);
    return fault.isEmpty() ? Verdict{} : failed(fault);
}

Verdict answered_once(Examiner& examiner)
{
    constexpr int long_enough_ms = 150;
    constexpr uchar expected = answer_to(a_request[0]);
    const std::size_t before = examiner.heard().size();
    if (!examiner.ask(a_request))
        return left_out(QStringLiteral("no answer to look at"));
    examiner.dialogue.pass(long_enough_ms);
    const auto count = std::count_if(
        examiner.heard().begin() + static_cast<std::ptrdiff_t>(before), examiner.heard().end(),
        [](const Line_event& event) { return event.is_frame() && event.id() == expected; });
    return count == 1 ? Verdict{}
                      : failed(QStringLiteral("%1 came %2 times for one request")
                                   .arg(name_of(expected))
                                   .arg(count));
}

Verdict configuration_read(Examiner& examiner)
{
    for (const uchar at : {power_up_delay_offset, uchar{0}}) {
        const Message request = read_of_byte(at);
        const auto told = fresh_answer(examiner, request);
        if (!told)
            return failed(unanswered(examiner, request));
        if (told_oem_code.of(*told) != no_profile || told_offset.of(*told) != at)
            return failed(QStringLiteral("%1 is of OEM code %2 and offset %3; asked were %4 and %5")
                              .arg(hex(*told))
                              .arg(told_oem_code.of(*told))
                              .arg(told_offset.of(*told))
                              .arg(no_profile)
                              .arg(at));
    }
    return {};
}

// recovery

Verdict after_bytes(Examiner& examiner, const QByteArray& bytes, const QString& what)
{
    const QByteArray frame = frame_of(a_request);
    return examiner.ask(bytes + frame, answer_to(a_request[0]))
               ? answers_after(examiner, QStringLiteral("though the one before was answered"))
               : failed(unanswered(examiner, a_request) + QStringLiteral(", sent behind ") + what);
}

Verdict after_garbage(Examiner& examiner)
{
    return after_bytes(examiner, QByteArray::fromHex("00ff785911a55a0078597800ee17f0e2"),
                       QStringLiteral("16 bytes of garbage"));
}

Verdict after_sync_bytes(Examiner& examiner)
{
    const QByteArray first(1, static_cast<char>(Frame::sync_1));
    const QByteArray both = first + static_cast<char>(Frame::sync_2);
    for (const QByteArray& beginning : {first, both, first + both + both}) {
        Verdict verdict = after_bytes(
            examiner, beginning, QString::fromLatin1(beginning.toHex()) + QStringLiteral(" alone"));
        if (verdict.kind != Verdict::Kind::passed)
            return verdict;
    }
    return {};
}

/// A controller may give up on a frame whose other half does not come; how soon is its own matter,
/// so that a pause that became longer than was meant says nothing.
Verdict split_frame_at(Examiner& examiner, const QByteArray& frame, int cut)
{
    constexpr int gap_ms = 100;
    constexpr double longest_gap_ms = 1.5 * gap_ms;
    const double begin_ms = static_cast<double>(examiner.dialogue.now_us()) / us_per_ms;
    examiner.dialogue.send(frame.left(cut));
    examiner.dialogue.pass(gap_ms);
    if (examiner.ask(frame.mid(cut), answer_to(a_request[0])))
        return {};
    const QString what = QStringLiteral(", sent in pieces of %1 and %2 bytes, %3 ms apart")
                             .arg(cut)
                             .arg(frame.size() - cut)
                             .arg(gap_ms);
    const QString text = unanswered(examiner, a_request) + what;
    return examiner.sent_ms() - begin_ms > longest_gap_ms ? unjudged(text) : failed(text);
}

Verdict split_frame(Examiner& examiner)
{
    const QByteArray frame = frame_of(a_request);
    for (const int cut : {1, 4, 12}) {
        Verdict verdict = split_frame_at(examiner, frame, cut);
        for (int look = 1; look < most_looks && verdict.kind == Verdict::Kind::unjudged; ++look)
            verdict = split_frame_at(examiner, frame, cut);
        if (verdict.kind != Verdict::Kind::passed)
            return verdict;
    }
    return {};
}

/// Not of the request that was asked last: its answer may come once more.
Verdict wrong_checksum(Examiner& examiner)
{
    QByteArray broken = frame_of(another_request);
    broken[broken.size() - 1] = static_cast<char>(~broken[broken.size() - 1]);
    examiner.dialogue.send(broken);
    const uchar answer = answer_to(another_request[0]);
    if (!examiner.collect(answer, 1, response_time_ms).empty())
        return failed(
            QStringLiteral("%1 came for a frame with a wrong checksum").arg(name_of(answer)));
    return answers_after(examiner, QStringLiteral("sent behind a frame with a wrong checksum"));
}

Verdict half_frame(Examiner& examiner)
{
    return after_bytes(examiner, frame_of(another_request).left(6),
                       QStringLiteral("half a frame of another request"));
}

Verdict half_frame_and_silence(Examiner& examiner)
{
    constexpr int silence_ms = 1000;
    examiner.dialogue.send(frame_of(another_request).left(6));
    examiner.dialogue.pass(silence_ms);
    return answers_after(examiner,
                         QStringLiteral("sent %1 ms behind half a frame").arg(silence_ms));
}

Verdict unknown_identifiers(Examiner& examiner)
{
    constexpr uchar unknown[] = {0x00, 0x03, 0x07, Message_id::digest, 0x7d, 0xff};
    for (const uchar id : unknown) {
        // It may be answered: a controller that cannot do something does well to say so.
        const uchar allowed = answer_to(id);
        examiner.excuse(allowed);
        examiner.dialogue.send(frame_of(message(id)));
        Verdict verdict =
            answers_after(examiner, QStringLiteral("sent behind a message %1").arg(name_of(id)));
        if (verdict.kind != Verdict::Kind::passed)
            return verdict;
    }
    return {};
}

// digest

/// How long it was from one message to another, at least and at most.
struct Interval {
    double least_ms;
    double most_ms;
};

/// What came as soon as it was looked for came when it was told: it ended the waiting.
double earliest_ms(const Arrival& arrival)
{
    constexpr int in_time_ms = 2 * Dialogue::look_ms;
    return arrival.latest_ms - arrival.earliest_ms <= in_time_ms ? arrival.latest_ms
                                                                 : arrival.earliest_ms;
}

/// The times between messages, from one on.
std::vector<Interval> intervals_of(const std::vector<Arrival>& arrivals, std::size_t from)
{
    std::vector<Interval> between;
    for (std::size_t at = from + 1; at < arrivals.size(); ++at)
        between.push_back({earliest_ms(arrivals[at]) - arrivals[at - 1].latest_ms,
                           arrivals[at].latest_ms - earliest_ms(arrivals[at - 1])});
    return between;
}

/// The middle one, by length: one that was held up says nothing of the others.
double usual_ms(const std::vector<Interval>& between)
{
    std::vector<double> lengths(between.size());
    std::transform(between.begin(), between.end(), lengths.begin(),
                   [](const Interval& each) { return (each.least_ms + each.most_ms) / 2; });
    std::sort(lengths.begin(), lengths.end());
    return lengths[lengths.size() / 2];
}

/// Whether digests come at an interval, once some stragglers have come: half of them do at least.
/// Those of which this end does not know when they came are counted for neither side.
Verdict digests_counted(Examiner& examiner, int intervals, int count)
{
    constexpr int stragglers = 2; // the answer, and what was under way
    constexpr double tolerance = 0.25;
    const auto expected_ms = interval.row().scaled(intervals);
    const double shortest_ms = (1 - tolerance) * expected_ms;
    const double longest_ms = (1 + tolerance) * expected_ms;
    const int wanted = stragglers + count + 1;
    const auto arrivals =
        examiner.collect(Message_id::digest, wanted, static_cast<int>(2 * wanted * expected_ms));
    if (static_cast<int>(arrivals.size()) < wanted)
        return failed(QStringLiteral("%1 digests in %2 ms, asked for one every %3 ms")
                          .arg(arrivals.size())
                          .arg(2 * wanted * expected_ms)
                          .arg(expected_ms));
    const auto between = intervals_of(arrivals, stragglers);
    const auto right = std::count_if(between.begin(), between.end(), [&](const Interval& each) {
        return each.least_ms >= shortest_ms && each.most_ms <= longest_ms;
    });
    const auto wrong = std::count_if(between.begin(), between.end(), [&](const Interval& each) {
        return each.most_ms < shortest_ms || each.least_ms > longest_ms;
    });
    const auto all = static_cast<std::ptrdiff_t>(between.size());
    const QString text = QStringLiteral("every %1").arg(milliseconds(usual_ms(between)));
    if (2 * right >= all)
        return {Verdict::Kind::passed, text};
    return 2 * wrong > all ? failed(QStringLiteral("digests come ") + text +
                                    QStringLiteral(", asked for every %1 ms").arg(expected_ms))
                           : unjudged(QStringLiteral("the interval of digests"));
}

Verdict digests_come_every(Examiner& examiner, int intervals, int count)
{
    Verdict verdict = digests_counted(examiner, intervals, count);
    for (int look = 1; look < most_looks && verdict.kind == Verdict::Kind::unjudged; ++look)
        verdict = digests_counted(examiner, intervals, count);
    return verdict;
}

Verdict digest_interval(Examiner& examiner)
{
    examiner.put_back(digest_every(0));
    examiner.dialogue.send(frame_of(digest_every(2)));
    return digests_come_every(examiner, 2, 10);
}

/// The new interval takes the place of the one before: none is added.
Verdict digest_new_interval(Examiner& examiner)
{
    examiner.put_back(digest_every(0));
    examiner.ask(digest_every(2));
    examiner.dialogue.send(frame_of(digest_every(4)));
    return digests_come_every(examiner, 4, 6);
}

Verdict digest_layout(Examiner& examiner)
{
    constexpr int longest_ms = 1000;
    examiner.put_back(digest_every(0));
    examiner.dialogue.send(frame_of(digest_every(1)));
    const std::size_t before = examiner.heard().size();
    // As an answer may be, the first can be late.
    if (examiner.collect(Message_id::digest, 1, std::max(longest_ms, examiner.wait_ms())).empty())
        return left_out(QStringLiteral("no digest to look at"));
    examiner.collect(Message_id::digest, 4, longest_ms);
    for (std::size_t at = before; at < examiner.heard().size(); ++at) {
        const Line_event& event = examiner.heard()[at];
        const bool is_digest = event.is_frame() && event.id() == Message_id::digest;
        const QString fault = is_digest ? layout_fault(Frame::message_of(event.bytes)) : QString();
        if (!fault.isEmpty())
            return failed(fault);
    }
    return {};
}

Verdict digest_end(Examiner& examiner)
{
    constexpr int window_ms = 1000;
    constexpr int stragglers = 3; // answers that are late
    if (!examiner.ask(digest_every(2)) ||
        examiner.collect(Message_id::digest, 2, std::max(window_ms, examiner.wait_ms())).size() < 2)
        return left_out(QStringLiteral("there are no digests to end"));
    examiner.dialogue.send(frame_of(digest_every(0)));
    examiner.ask(a_request); // what was under way comes before its answer
    const auto late = examiner.collect(Message_id::digest, stragglers + 1, window_ms);
    return static_cast<int>(late.size()) <= stragglers
               ? Verdict{}
               : failed(QStringLiteral("digests go on behind a request with interval 0"));
}

// change

Verdict outputs_follow(Examiner& examiner)
{
    const Message query = message(Message_id::digital_outputs);
    const auto before = examiner.ask(query);
    if (!before)
        return failed(unanswered(examiner, query));
    constexpr uint count = 4;
    for (uint output = 0; output < count; ++output) {
        const Output_code old = output_code(told_outputs.of(*before), output);
        examiner.put_back(message_with(outputs.is(output_bits(old, output))));
        for (const Output_code code : {Output_code::on, Output_code::off}) {
            const Message command = message_with(outputs.is(output_bits(code, output)));
            const auto told = fresh_answer(examiner, command);
            if (!told)
                return failed(unanswered(examiner, command));
            if (output_code(told_outputs.of(*told), output) != code)
                return failed(QStringLiteral("output %1 was switched by %2, and the report is %3")
                                  .arg(output)
                                  .arg(hex(command), hex(*told)));
        }
    }
    return {};
}

Verdict backlight_follows(Examiner& examiner)
{
    const auto before = examiner.ask(backlight_query);
    if (!before)
        return failed(unanswered(examiner, backlight_query));
    examiner.put_back(message_with(level.is(told_level.of(*before)),
                                   second_level.is(told_second_level.of(*before))));
    constexpr uchar half = full_level / 2;
    const uchar wanted = told_level.of(*before) == half ? half + 1 : half;
    const Message command = message_with(level.is(wanted), second_level.is(uchar{0}));
    for (const Message& request : {command, backlight_query}) {
        const auto told = fresh_answer(examiner, request);
        if (!told)
            return failed(unanswered(examiner, request));
        if (told_level.of(*told) != wanted)
            return failed(QStringLiteral("level %1 was set, and the report to %2 is %3")
                              .arg(wanted)
                              .arg(hex(request), hex(*told)));
    }
    return {};
}

Verdict configuration_follows(Examiner& examiner)
{
    const Message read = read_of_byte(power_up_delay_offset);
    const auto before = examiner.ask(read);
    if (!before)
        return failed(unanswered(examiner, read));
    const uchar old = told_value.of(*before);
    examiner.put_back(write_of_byte(power_up_delay_offset, old));
    const auto wanted = static_cast<uchar>(old + 1);
    for (const Message& request : {write_of_byte(power_up_delay_offset, wanted), read}) {
        const auto told = fresh_answer(examiner, request);
        if (!told)
            return failed(unanswered(examiner, request));
        if (told_value.of(*told) != wanted)
            return failed(QStringLiteral("%1 was written, and the report to %2 is %3")
                              .arg(wanted)
                              .arg(hex(request), hex(*told)));
    }
    return {};
}

// line

/// The first thing heard that is wrong; passed when there is none.
template <class Is_wrong>
Verdict look_at_all(const Examiner& examiner, Is_wrong is_wrong, const QString& what)
{
    if (examiner.heard().empty())
        return left_out(QStringLiteral("nothing was heard"));
    int count = 0;
    const Line_event* first = nullptr;
    for (const Line_event& event : examiner.heard()) {
        if (!is_wrong(event))
            continue;
        ++count;
        first = first == nullptr ? &event : first;
    }
    return first == nullptr ? Verdict{}
                            : failed(QStringLiteral("%1 times %2, first %3")
                                         .arg(count)
                                         .arg(what, QString::fromLatin1(first->bytes.toHex(' '))));
}

Verdict frames_only(Examiner& examiner)
{
    return look_at_all(
        examiner,
        [](const Line_event& event) {
            return event.kind == Line_event::Kind::broken ||
                   event.kind == Line_event::Kind::skipped;
        },
        QStringLiteral("bytes that are no good frame"));
}

Verdict right_addresses(Examiner& examiner)
{
    return look_at_all(
        examiner,
        [](const Line_event& event) { return event.is_frame() && !event.has_right_addresses(); },
        QStringLiteral("a frame with other addresses than %1 and %2")
            .arg(uint{Frame::controller_address}, 2, 16)
            .arg(uint{Frame::host_address}, 2, 16));
}

Verdict known_identifiers(Examiner& examiner)
{
    return look_at_all(
        examiner,
        [&examiner](const Line_event& event) {
            if (!event.is_frame() || examiner.is_excused(event.id()))
                return false;
            return find_message(event.id()) == nullptr || is_request(event.id());
        },
        QStringLiteral("a message that is none of a controller's"));
}

struct Check_row {
    const char* name;
    const char* meaning;
    bool changes;
    Verdict (*run)(Examiner&);
};

/// Behind those of the single requests.
constexpr Check_row rows[] = {
    {"answer.once", "a request is answered once", false, answered_once},
    {"configuration.read", "a configuration byte is reported with its OEM code and offset", false,
     configuration_read},
    {"recovery.garbage", "a request behind garbage is answered", false, after_garbage},
    {"recovery.sync_bytes", "a request behind the beginning of a frame is answered", false,
     after_sync_bytes},
    {"recovery.split_frame", "a request in pieces is answered", false, split_frame},
    {"recovery.wrong_checksum", "a wrong checksum is not answered, the request behind it is", false,
     wrong_checksum},
    {"recovery.half_frame", "a request behind half a frame is answered", false, half_frame},
    {"recovery.silence", "a request after half a frame and silence is answered", false,
     half_frame_and_silence},
    {"unknown.identifiers", "messages that it does not know do no harm", false,
     unknown_identifiers},
    {"digest.interval", "digests come at the interval that was asked for", false, digest_interval},
    {"digest.new_interval", "a new interval takes the place of the one before", false,
     digest_new_interval},
    {"digest.layout", "the fields of a digest are in their ranges", false, digest_layout},
    {"digest.end", "interval 0 ends the digests", false, digest_end},
    {"change.outputs", "digital outputs are switched and reported", true, outputs_follow},
    {"change.backlight", "the backlight's level is set and reported", true, backlight_follows},
    {"change.configuration", "a configuration byte is written, kept and reported", true,
     configuration_follows},
    {"line.frames", "nothing but good frames came", false, frames_only},
    {"line.addresses", "every frame came from the controller to the host", false, right_addresses},
    {"line.identifiers", "every message is one of the controller's", false, known_identifiers},
};

} // namespace

std::vector<Controller_check> controller_checks()
{
    std::vector<Controller_check> checks;
    for (const Probe& probe : probes) {
        const uchar id = probe.request[0];
        const QString name = QString::fromLatin1(find_message(id)->name);
        checks.push_back({QStringLiteral("answer.") + name,
                          QStringLiteral("%1 is answered by %2 within %3 ms")
                              .arg(name_of(id), name_of(answer_to(id)))
                              .arg(response_time_ms),
                          probe.changes,
                          [&probe](Examiner& examiner) { return answer(examiner, probe); }});
        checks.push_back({QStringLiteral("layout.") + name,
                          QStringLiteral("the fields of %1 are in their ranges, other bytes are 0")
                              .arg(name_of(answer_to(id))),
                          probe.changes,
                          [&probe](Examiner& examiner) { return layout(examiner, probe); }});
    }
    for (const Check_row& row : rows)
        checks.push_back({QString::fromLatin1(row.name), QString::fromLatin1(row.meaning),
                          row.changes, row.run});
    return checks;
}
