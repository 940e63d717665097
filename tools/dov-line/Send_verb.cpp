#include "Send_verb.h"

#include "Frame.h"
#include "Message_text.h"

#include <limits>

Send_verb::Send_verb()
    : Asking_verb("send", "Sends the controller a message and waits for the answer.", 1, 0)
{
    line().take_arguments(
        0, std::numeric_limits<int>::max(), QStringLiteral("message"),
        QStringLiteral("0x31, 49 or backlight, then its fields, level=127, or its arguments in "
                       "hexadecimal, 7f 00."));
    line().add("bytes", "hex", "Sends these bytes as they are, in place of a message.",
               [this](const QString& text) {
                   const auto bytes = bytes_of_hex(text);
                   bytes_ = bytes.value_or(QByteArray());
                   return bytes ? QString()
                                : QStringLiteral("--bytes: \"%1\" is not two hexadecimal digits "
                                                 "a byte")
                                      .arg(text);
               });
}

int Send_verb::run(const QStringList& arguments)
{
    if (arguments.isEmpty() == bytes_.isEmpty()) {
        complain(QStringLiteral("send takes a message, or --bytes"));
        return tool_usage;
    }
    if (bytes_.isEmpty()) {
        QString error;
        const auto message = message_of(arguments, error);
        if (!message) {
            complain(error);
            return tool_usage;
        }
        bytes_ = Frame::build(*message, Frame::host_address, Frame::controller_address);
    }
    return ask({bytes_});
}
