#include "Simulator.h"

#include "Console.h"
#include "Named_field.h"
#include "Paths.h"
#include "Simulator_waveform.h"

#include <QTimer>

#include <clocale>
#include <cstring>

namespace {

constexpr U8_field wanted_outputs = {Message_id::digital_outputs, "outputs"};
constexpr U8_field reported_outputs = {Message_id::digital_outputs_report, "outputs"};
constexpr U8_field interval = {Message_id::digest_request, "interval"};

constexpr uint least_digest_request = 6; ///< bytes that a digest request has at least

/// Of messages in the link's queue. They are on the line for 300 ms each, 50 minutes all together:
/// long before they have gone a timer fires, whose longest interval is 12.75 s, and sends more.
constexpr int most_waiting = 10000;

std::array<char, 5> letters(const std::array<bool, 4>& outputs)
{
    std::array<char, 5> text{};
    for (std::size_t i = 0; i < outputs.size(); ++i)
        text[i] = outputs[i] ? 'T' : 'F';
    return text;
}

} // namespace

Simulator::Simulator(int& count, char** arguments)
    : QCoreApplication(count, arguments), count_(count), arguments_(arguments)
{
    std::setlocale(LC_NUMERIC, "C");
}

void Simulator::run()
{
    const auto handler = [this](const char* name, const char* value) {
        return handle_option(name, value);
    };
    if (!walk_options(count_, arguments_, handler))
        return;
    link_ = std::make_unique<Power_controller_interface>();
    // This object reads the link; the link's own reader would take every request first.
    disconnect(link_.get(), &QIODevice::readyRead, link_.get(),
               &Power_controller_interface::handle_read);
    connect(link_.get(), &QIODevice::readyRead, this, &Simulator::handle_read);
    link_->open(paths().simulator_port);
    exec();
}

bool Simulator::handle_option(const char* name, const char* value)
{
    if (std::strcmp(name, "simulate") == 0)
        return true;
    return take_link_option(name, value, options_, [this] { print_option_usage(arguments_[0]); });
}

void Simulator::handle_read()
{
    const Console_batch batch;
    uchar request[256];
    for (;;) {
        const uint length = link_->read_packet(request, sizeof request);
        if (length < 1)
            return;
        Console::out().format("%d:%02x\n", static_cast<int>(length), uint{request[0]});
        handle_request(request, length);
    }
}

void Simulator::handle_timeout()
{
    backlog_.add_report();
    send_due();
}

void Simulator::handle_request(const uchar* request, uint length)
{
    if (const auto fields = wanted_outputs.read(request, length))
        set_outputs(*fields);
    else if (const auto units = interval.read(request, length);
             units && length >= least_digest_request)
        start_digest(static_cast<int>(interval.scaled(*units)));
}

void Simulator::set_outputs(uchar fields)
{
    Console::out().format("Set Digi %x+%s =>", uint{fields}, letters(outputs_).data());
    outputs_ = switched_outputs(outputs_, fields);
    const uchar report = output_report(outputs_);
    backlog_.add(message_with(reported_outputs.is(report)));
    send_due();
    Console::out().format("%x+%s\n", uint{report}, letters(outputs_).data());
}

void Simulator::start_digest(int interval_ms)
{
    Console::out() << "Request digest\n";
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &Simulator::handle_timeout);
    timer->start(interval_ms);
}

/// Hands the link what is due, oldest first, as far as there is room.
void Simulator::send_due()
{
    while (!backlog_.is_empty() && link_->waiting() < most_waiting)
        link_->send_message(backlog_.take());
}
