#pragma once

#include "Message.h"

#include <QByteArray>
#include <QString>

/// Says in words what a message means: its name in the catalogue and its fields with their
/// values. An identifier that is not in the catalogue is "unknown 0xNN".
QString meaning_of(const Message& message);

/// The same for bytes of the line: what is in a whole frame and what is wrong with it, or that
/// they are no frame.
QString meaning_of_bytes(const QByteArray& bytes, bool from_controller);
