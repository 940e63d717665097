#include "Poll_verb.h"

#include "Field_catalogue.h"
#include "Frame.h"
#include "Message_text.h"
#include "Poll.h"

#include <limits>

namespace {

QByteArray frame_of(const Message& message)
{
    return Frame::build(message, Frame::host_address, Frame::controller_address);
}

/// What the daemon's poll asks a controller of which it knows nothing.
QVector<QByteArray> daemon_poll()
{
    QVector<QByteArray> requests;
    for (const uchar id : polled_requests)
        requests.append(frame_of(blank_message(id)));
    for (const uchar id : version_requests)
        requests.append(frame_of(blank_message(id)));
    return requests;
}

} // namespace

Poll_verb::Poll_verb()
    : Asking_verb("poll", "Asks the controller again and again, as the daemon does.", 0,
                  poll_period_ms)
{
    line().take_arguments(
        0, std::numeric_limits<int>::max(), QStringLiteral("message..."),
        QStringLiteral("What to ask, each in quotes with its fields: \"backlight level=query\"; "
                       "as the daemon's poll when there is none."));
}

int Poll_verb::run(const QStringList& arguments)
{
    QVector<QByteArray> requests;
    for (const QString& argument : arguments) {
        QString error;
        const auto message = message_of(argument.simplified().split(QLatin1Char(' ')), error);
        if (!message) {
            complain(error);
            return tool_usage;
        }
        requests.append(frame_of(*message));
    }
    return ask(requests.isEmpty() ? daemon_poll() : requests);
}
