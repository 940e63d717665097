#pragma once

#include "Message.h"
#include "Queued_packet_serial_interface.h"

/// The link to the power-management controller.
///
/// Every payload is 8 bytes: the identifier and seven arguments (see Field_catalogue.h). The
/// controller answers identifier k with k + 1. Requests and answers carry no numbers, so an answer
/// that comes after its request was given up completes the next request with the same identifier.
class Power_controller_interface : public Queued_packet_serial_interface {
    Q_OBJECT
public:
    /// Queues a message made of its identifier and arguments; always true.
    bool send_message(uchar id, uchar b1 = 0, uchar b2 = 0, uchar b3 = 0, uchar b4 = 0,
                      uchar b5 = 0, uchar b6 = 0, uchar b7 = 0);
    bool send_message(const Message& message);

    /// Whether the response's identifier answers the request's; see Exchange.h.
    bool is_response(const QByteArray& request, const QByteArray& response) override;

    /// Drops what is queued, sends the digest request with interval 0 as the last word, waits
    /// until it is written and closes the port. Takes 50 ms or a little more.
    void close() override;

    /// Always 8.
    uint packet_length(const QByteArray& head) override;
};
