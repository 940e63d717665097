#pragma once

#include "Asking_verb.h"

#include <optional>

/// Sends the controller a message, or any bytes, and waits for the answer.
class Send_verb : public Asking_verb {
public:
    Send_verb();

    /// The arguments are the message in words.
    int run(const QStringList& arguments) override;

private:
    QByteArray bytes_;
};
