#include "Bench_controller.h"

#include "Frame.h"
#include "Message_id.h"
#include "State_text.h"

#include <algorithm>

Bench_controller::Bench_controller()
{
    for (QTimer* timer : {&send_timer_, &digest_timer_, &reconnect_timer_}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
    }
    connect(&send_timer_, &QTimer::timeout, this, &Bench_controller::send_due);
    connect(&digest_timer_, &QTimer::timeout, this, &Bench_controller::push_digest);
    connect(&reconnect_timer_, &QTimer::timeout, this, &Bench_controller::connect_line);
    connect(&line_, &Line::received, this, &Bench_controller::take);
    connect(&line_, &Line::lost, this,
            [this] { Q_EMIT line_failed(line_.device() + QStringLiteral(" is gone")); });
}

QString Bench_controller::start(const Place& place)
{
    place_ = place;
    start_state_ = model.state;
    clock_.start();
    follow_digest_interval();
    return open_line();
}

qint64 Bench_controller::now_ms() const
{
    return clock_.isValid() ? clock_.elapsed() : 0;
}

qint64 Bench_controller::now_us() const
{
    return clock_.isValid() ? clock_.nsecsElapsed() / 1000 : 0;
}

void Bench_controller::push_report(uchar id)
{
    if (const auto message = model.report(id, now_ms()))
        push(*message);
}

void Bench_controller::push(const Message& message)
{
    send(message, Faults::Origin::report);
}

void Bench_controller::send_bytes(const QByteArray& bytes)
{
    schedule_.add({now_ms(), {bytes}});
    send_due();
}

void Bench_controller::disconnect_line()
{
    reconnect_timer_.stop();
    schedule_.clear();
    reader_.clear();
    line_.close();
}

void Bench_controller::connect_line()
{
    reconnect_timer_.stop();
    if (line_.is_open())
        return;
    const QString error = open_line();
    if (!error.isEmpty())
        Q_EMIT line_failed(error);
}

void Bench_controller::disconnect_line_for(qint64 time_ms)
{
    disconnect_line();
    reconnect_timer_.start(static_cast<int>(time_ms));
}

void Bench_controller::follow_digest_interval()
{
    const qint64 now = now_ms();
    digest_due_ms_ = model.next_digest(now);
    if (digest_due_ms_ < 0)
        digest_timer_.stop();
    else
        digest_timer_.start(static_cast<int>(std::max<qint64>(digest_due_ms_ - now, 0)));
}

void Bench_controller::restart()
{
    model.state = start_state_;
    schedule_.clear();
    follow_digest_interval();
}

bool Bench_controller::is_idle() const
{
    return !schedule_.next_time() && line_.is_drained();
}

Bench_controller::Counters Bench_controller::counters() const
{
    Counters result = counters_;
    result.lost = line_.lost_bytes();
    return result;
}

void Bench_controller::carry_out(const Action& action, const Printer& printer)
{
    printer_ = printer;
    action(*this);
    printer_ = nullptr;
}

void Bench_controller::print(const QString& text)
{
    if (printer_)
        printer_(text);
    else
        Q_EMIT text_printed(text);
}

QString Bench_controller::state_text() const
{
    const Counters passed = counters();
    return QStringLiteral("# %1 commands, %2 bytes sent, %3 bytes ignored, %4 bytes lost\n%5")
        .arg(passed.commands)
        .arg(passed.sent)
        .arg(passed.ignored)
        .arg(passed.lost)
        .arg(state_as_commands(model.state));
}

QString Bench_controller::open_line()
{
    QString error = place_.device.isEmpty() ? line_.open_pty(place_.link)
                                            : line_.open_device(place_.device, place_.baud);
    if (error.isEmpty())
        Q_EMIT line_opened(line_.device());
    else
        line_.close();
    return error;
}

void Bench_controller::take(const QByteArray& bytes)
{
    if (!heard_) {
        heard_ = true;
        Q_EMIT host_heard();
    }
    for (const Frame_reader::Found& found : reader_.take(bytes)) {
        note(false, found.bytes);
        const bool is_for_us =
            found.is_frame &&
            Frame::has_addresses(found.bytes, Frame::host_address, Frame::controller_address);
        if (is_for_us)
            take_frame(found.bytes);
        else
            counters_.ignored += found.bytes.size();
    }
}

void Bench_controller::take_frame(const QByteArray& frame)
{
    ++counters_.commands;
    if (!answering_)
        return;
    const Message command = Frame::message_of(frame);
    const auto answer = model.receive(command, now_ms());
    if (command[0] == Message_id::digest_request)
        follow_digest_interval();
    if (answer)
        send(*answer, Faults::Origin::answer);
}

void Bench_controller::send(const Message& message, Faults::Origin origin)
{
    for (const Transmission& transmission : faults.shape(message, origin, now_ms()))
        schedule_.add(transmission);
    send_due();
}

void Bench_controller::send_due()
{
    const qint64 now = now_ms();
    for (QByteArray piece = schedule_.take(now); !piece.isEmpty(); piece = schedule_.take(now)) {
        if (!line_.is_open())
            continue;
        line_.write(piece);
        counters_.sent += piece.size();
        note(true, piece);
    }
    const auto next = schedule_.next_time();
    if (next)
        send_timer_.start(static_cast<int>(std::max<qint64>(*next - now, 0)));
    else
        send_timer_.stop();
}

void Bench_controller::push_digest()
{
    if (answering_) {
        if (const auto digest = model.report(Message_id::digest, digest_due_ms_))
            push(*digest);
    }
    follow_digest_interval();
}

void Bench_controller::note(bool from_controller, const QByteArray& bytes)
{
    Q_EMIT passed({now_us(), from_controller, bytes});
}
