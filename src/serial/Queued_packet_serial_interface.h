#pragma once

#include "Exchange.h"
#include "Packet_serial_interface.h"
#include "SendQueue.h"

#include <QTimer>

/// Makes the link request and response: one request at a time is on the wire, the next one goes
/// out when it is answered or when 300 ms have passed without an answer.
///
/// Every payload that arrives is looked at here first, then reaches the other receivers of
/// handle_packet(): the next request is on its way before they see the answer to the last.
/// An unanswered request is dropped, never repeated.
class Queued_packet_serial_interface : public Packet_serial_interface {
    Q_OBJECT
public:
    Queued_packet_serial_interface();

    /// Queues a payload, and sends it at once when no other waits. Always true. A payload above
    /// 255 bytes is never written and holds the queue until its time is over. Thread: any.
    virtual bool send_packet(const unsigned char* payload, int len);

    /// Whether a payload answers a request.
    virtual bool is_response(const QByteArray& request, const QByteArray& response) = 0;

    /// Empties the queue. A running response time goes on.
    virtual void clear_queue();

    /// How many payloads wait, the one on the line included. Thread: any.
    int waiting() const { return queue_.size(); }

public Q_SLOTS:
    /// Gives the oldest request up and sends the next.
    void timeout();

    /// Sends the next request if the payload answers the oldest.
    void handle_response(const unsigned char* payload, unsigned int len);

private:
    void transmit(const QByteArray& payload);
    void start_timer();

    SendQueue queue_;
    QTimer* timer_;
    QMutex mutex_; ///< taken before the queue's own
};
