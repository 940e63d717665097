#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QString>

#include <optional>

/// What a page asks for.
struct Page_request {
    enum class Kind : uchar {
        token,   ///< to be allowed to change things
        watch,   ///< the frames of the line, or not
        history, ///< the last minutes of a value
        call,    ///< a method of an object
        bench,   ///< a command of the bench controller
    };

    Kind kind = Kind::watch;
    std::optional<qint64> id; ///< what the answer names; without one there is none
    QByteArray token;
    bool wants_frames = false;
    int object = 0; ///< place in the catalogue; may be none's
    QString member;
    QString path;
    QString interface;
    QString method;
    QJsonArray arguments;
    QByteArray line; ///< one line, without control characters
};

/// A message of a page's, read.
struct Page_message {
    std::optional<Page_request> request; ///< none when it is malformed
    std::optional<qint64> id;            ///< also of a malformed one that has it
    QString error;                       ///< then: why
};

/// Reads a message: an object of JSON with "type" and what the type takes; other members do not
/// count. Takes any bytes.
Page_message read_page_message(const QByteArray& text);
