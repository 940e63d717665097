#pragma once

#include "Message.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

// Messages as people write them on a command line.

/// The identifier of a text: "0x36", "54", or the name of a message, "digest". None for anything
/// else.
std::optional<uchar> identifier_of(const QString& text);

/// The message of words: an identifier as above, then either its fields, "level=127" each, or its
/// arguments in hexadecimal, "7f 00". What is not said is 0, or what it always is. None, and the
/// reason in `error`, when they are no message.
std::optional<Message> message_of(const QStringList& words, QString& error);

/// The bytes of hexadecimal text, two digits each, together or apart; none when it is anything
/// else, or empty.
std::optional<QByteArray> bytes_of_hex(const QString& text);

/// What a message is called: "0x36 digest", "0x7d unknown".
QString name_of(uchar id);
