#include "Player.h"

#include <algorithm>

namespace {

constexpr int frame_size = 13;
constexpr int longest_piece = 12;

/// What the controller answers the poll: values that no scenario has.
const QByteArray poll_answers[] = {QByteArray::fromHex("1c"), QByteArray::fromHex("22303930393039"),
                                   QByteArray::fromHex("24303930393039"),
                                   QByteArray::fromHex("284d4d4d4d4d4d")};
const QByteArrayList poll_texts = {"Got message 1c\n", "Got message 22\n", "Got message 24\n",
                                   "Got message 28\n"};
const QByteArrayList poll_errors = {"Updated val=12.345", "Updated val=77"};
const QStringList polled_paths = {QStringLiteral("device/io/input/voltage/"),
                                  QStringLiteral("device/io/input/temperature/")};

/// An old controller, which the poll tells by its versions.
const QByteArray old_versions[] = {QByteArray::fromHex("12"), QByteArray::fromHex("16")};

/// What the poll logs once, three seconds after the start, of a controller that answers so.
const QString detection_text = QStringLiteral("Legacy PMC FW detected. Current Line 15 mode is 2");

/// What the poll asks, by identifier.
bool is_poll_request(const QByteArray& payload)
{
    return QByteArray("\x1b\x21\x23\x27\x19\x11\x15").contains(payload[0]);
}

/// The state that a scenario finds: outputs off, configuration as asked, an old hardware.
const char* const resting_messages[] = {"1200",       "1600",   "1a00", "2e00040f", "3400550000",
                                        "0602000001", "360000", "3eff", "3200"};

/// Asks for a voltage that no scenario asks for: the last request of a scenario.
constexpr uint last_voltage = 0xEE;
const QByteArray last_request = QByteArray::fromHex("0dee000000000000");

/// Whether the first byte of the frame behind would pass for the checksum of one that is a byte
/// short: a good frame then, at the cost of the one behind.
bool is_completed_by_sync(const QByteArray& bytes)
{
    int sum = 0xD8;
    for (const char byte : bytes.mid(4))
        sum += static_cast<uchar>(byte);
    return sum % 256 == 0x18;
}

QByteArray without_lines(const QByteArray& text, const QByteArrayList& beginnings)
{
    QByteArray kept;
    decltype(text.size()) begin = 0;
    while (begin < text.size()) {
        auto end = text.indexOf('\n', begin);
        end = end < 0 ? text.size() : end + 1;
        const QByteArray line = text.mid(begin, end - begin);
        if (std::none_of(beginnings.begin(), beginnings.end(),
                         [&line](const QByteArray& start) { return line.startsWith(start); }))
            kept += line;
        begin = end;
    }
    return kept;
}

} // namespace

void Player::start(const Scenario* scenario)
{
    terminal_ = std::make_unique<Terminal>();
    for (const QByteArray& answer : poll_answers)
        terminal_->controller.set_answer(answer);
    for (const QByteArray& answer : old_versions)
        terminal_->controller.set_answer(answer);
    if (scenario != nullptr) {
        for (const auto& [below, content] : scenario->files)
            terminal_->root.write(below, content);
        for (const QByteArray& answer : scenario->answers)
            terminal_->controller.set_answer(answer);
    }
    terminal_->controller.set_answer(QByteArray::fromHex("0602000001000000"));
    terminal_->start();
    if (scenario != nullptr) {
        for (const QByteArray& message : scenario->awaited) {
            if (!wait_for([&] { return terminal_->controller.has_received(message); }))
                report::give_up("the daemon does not send " + message);
        }
    }
    for (const int id : {0x05, 0x0b, 0x0d, 0x29, 0x2d, 0x31, 0x33, 0x3d, 0x3f})
        terminal_->controller.ignore(static_cast<uchar>(id));
}

bool Player::wait_for_detection()
{
    return wait_for([this] { return terminal_->log.lines().contains(detection_text); });
}

Player::Played Player::play(const Scenario& scenario, Delivery delivery)
{
    delivery_ = Delivery::whole;
    prepare(scenario);
    delivery_ = delivery;
    Played played;
    for (const Scenario::Step& step : scenario.steps)
        do_step(step, played);
    send_pending();
    finish();
    played.outcome = outcome(scenario);
    terminal_->controller.send(QByteArray::fromHex("0e"));
    return played;
}

void Player::prepare(const Scenario& scenario)
{
    for (const uchar id : {uchar{0x1b}, uchar{0x21}, uchar{0x23}, uchar{0x27}}) {
        if (scenario.concerns_poll())
            terminal_->controller.ignore(id);
        else
            terminal_->controller.answer(id);
    }
    if (!scenario.needs_own_daemon()) {
        for (const char* message : resting_messages)
            terminal_->controller.send(QByteArray::fromHex(message));
    }
    terminal_->settle();
    Played ignored;
    for (const Scenario::Step& step : scenario.setup)
        do_step(step, ignored);
    terminal_->clear();
    results_.clear();

    const auto messages =
        std::count_if(scenario.steps.begin(), scenario.steps.end(), [](const Scenario::Step& step) {
            return step.kind == Scenario::Step::Kind::message;
        });
    until_damaged_ = messages == 0 ? -1 : below(static_cast<int>(messages));
}

void Player::do_step(const Scenario::Step& step, Played& played)
{
    if (step.kind == Scenario::Step::Kind::call) {
        send_pending();
        terminal_->settle();
        const QDBusMessage reply = terminal_->call(step.path, step.method, step.values);
        const QString result = reply.type() == QDBusMessage::ReplyMessage
                                   ? Scenario::to_text(reply.arguments())
                                   : QStringLiteral(" s:\"%1\"").arg(reply.errorName());
        results_.append(step.path + QLatin1Char(' ') + step.method + result);
        return;
    }
    if (step.kind == Scenario::Step::Kind::raw) {
        deliver(step.bytes);
        return;
    }
    const QByteArray frame = Fake_controller::frame(step.bytes);
    const bool is_damaged = until_damaged_-- == 0 &&
                            (delivery_ == Delivery::dropped || delivery_ == Delivery::bit_flipped);
    const QByteArray damaged = is_damaged ? damage(frame, played) : frame;
    if (damaged == frame || played.address_is_wrong)
        played.arrived.append(step.bytes.left(1).toHex());
    deliver(damaged);
    if (delivery_ == Delivery::duplicated) {
        played.arrived.append(step.bytes.left(1).toHex());
        deliver(frame);
    }
}

void Player::deliver(const QByteArray& bytes)
{
    if (delivery_ == Delivery::merged) {
        pending_ += bytes;
        return;
    }
    if (delivery_ != Delivery::split) {
        terminal_->controller.send_bytes(bytes);
        return;
    }
    terminal_->controller.set_listening(false);
    for (int at = 0; at < bytes.size();) {
        const int size = 1 + below(longest_piece);
        terminal_->controller.send_bytes(bytes.mid(at, size));
        terminal_->controller.wait_until_taken();
        at += size;
    }
    terminal_->controller.set_listening(true);
}

QByteArray Player::damage(QByteArray frame, Played& played)
{
    if (delivery_ == Delivery::dropped)
        return drop_byte(frame);
    const int bit = below(frame_size * 8);
    const int at = bit / 8;
    frame[at] = static_cast<char>(frame[at] ^ (1 << bit % 8));
    played.address_is_wrong = at == 2 || at == 3;
    played.checksum_is_wrong = at > 3;
    return frame;
}

QByteArray Player::drop_byte(const QByteArray& frame)
{
    QByteArray shorter;
    do {
        shorter = QByteArray(frame).remove(below(frame_size), 1);
    } while (is_completed_by_sync(shorter));
    return shorter;
}

void Player::send_pending()
{
    if (!pending_.isEmpty())
        terminal_->controller.send_bytes(std::exchange(pending_, {}));
}

void Player::finish()
{
    terminal_->settle();
    terminal_->call(QStringLiteral("device/operating_voltage"),
                    QStringLiteral("set_operating_voltage"), {last_voltage});
    const bool done =
        wait_for([this] { return terminal_->controller.has_received(last_request.toHex()); });
    if (!done)
        report::give_up("the last request does not come");
}

Scenario::Outcome Player::outcome(const Scenario& scenario)
{
    const bool with_poll = !scenario.concerns_poll();
    Scenario::Outcome seen;
    seen.out = terminal_->output();
    seen.out.replace("OPVOLT SET: 0d ee 00 00 00 00 00 00 \n", "");
    seen.err = terminal_->errors();
    if (with_poll) {
        for (const QByteArray& text : poll_texts) // behind "Checksum failed" on its line, maybe
            seen.out.replace(text, "");
        seen.err = without_lines(seen.err, poll_errors);
    }
    seen.log = terminal_->log.lines();
    seen.log.removeAll(detection_text);
    for (const Terminal::Signal& signal : terminal_->seen_signals()) {
        const bool polled =
            std::any_of(polled_paths.begin(), polled_paths.end(),
                        [&signal](const QString& path) { return signal.path.startsWith(path); });
        if (!with_poll || !polled)
            seen.signals_seen.append(signal.path + QLatin1Char(' ') + signal.member +
                                     Scenario::to_text(signal.values));
    }
    for (const auto& request : terminal_->controller.requests()) {
        if (!is_poll_request(request.payload) && request.payload != last_request)
            seen.requests.append(QString::fromLatin1(request.payload.toHex(' ')));
    }
    seen.results = results_;
    return seen;
}
