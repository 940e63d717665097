#include "Queued_packet_serial_interface.h"

#include <QMutexLocker>

Queued_packet_serial_interface::Queued_packet_serial_interface() : timer_(new QTimer(this))
{
    timer_->setSingleShot(true);
    timer_->setTimerType(Qt::PreciseTimer);
    timer_->setInterval(response_time_ms);
    connect(timer_, &QTimer::timeout, this, &Queued_packet_serial_interface::timeout);
    connect(this, &Packet_serial_interface::handle_packet, this,
            &Queued_packet_serial_interface::handle_response);
}

bool Queued_packet_serial_interface::send_packet(const unsigned char* payload, int len)
{
    const QMutexLocker locker(&mutex_);
    const QByteArray entry(reinterpret_cast<const char*>(payload), len);
    if (!queue_.push(entry))
        transmit(entry);
    return true;
}

void Queued_packet_serial_interface::clear_queue()
{
    const QMutexLocker locker(&mutex_);
    queue_.clear();
}

void Queued_packet_serial_interface::timeout()
{
    const QMutexLocker locker(&mutex_);
    timer_->stop();
    if (const auto next = queue_.pop())
        transmit(*next);
}

void Queued_packet_serial_interface::handle_response(const unsigned char* payload, unsigned int len)
{
    const QMutexLocker locker(&mutex_);
    const auto request = queue_.front();
    if (!request)
        return;
    const QByteArray response(reinterpret_cast<const char*>(payload), static_cast<int>(len));
    if (!is_response(*request, response))
        return;
    if (const auto next = queue_.pop())
        transmit(*next);
}

/// Called with the mutex held.
void Queued_packet_serial_interface::transmit(const QByteArray& payload)
{
    write_packet(reinterpret_cast<const uchar*>(payload.constData()),
                 static_cast<uint>(payload.size()));
    start_timer();
}

/// Starts the timer anew, by way of the event loop when another thread sends.
void Queued_packet_serial_interface::start_timer()
{
    QMetaObject::invokeMethod(timer_, qOverload<>(&QTimer::start));
}
