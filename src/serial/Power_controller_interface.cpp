#include "Power_controller_interface.h"

#include "Exchange.h"
#include "Message.h"
#include "Message_id.h"

namespace {

constexpr int drain_time_ms = 50;

} // namespace

bool Power_controller_interface::send_message(uchar id, uchar b1, uchar b2, uchar b3, uchar b4,
                                              uchar b5, uchar b6, uchar b7)
{
    const Message payload = {id, b1, b2, b3, b4, b5, b6, b7};
    return send_message(payload);
}

bool Power_controller_interface::send_message(const Message& message)
{
    return send_packet(message.data(), message_size);
}

void Power_controller_interface::close()
{
    clear_queue();
    const Message last = message(Message_id::digest_request);
    write_packet(last.data(), message_size);
    while (waitForBytesWritten(drain_time_ms)) {
    }
    Queued_packet_serial_interface::close();
}

uint Power_controller_interface::packet_length(const QByteArray& /*head*/)
{
    return message_size;
}

bool Power_controller_interface::is_response(const QByteArray& request, const QByteArray& response)
{
    if (request.isEmpty() || response.isEmpty())
        return false;
    return is_answer(static_cast<uchar>(request[0]), static_cast<uchar>(response[0]));
}
