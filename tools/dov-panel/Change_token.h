#pragma once

#include <QByteArray>
#include <QString>

/// What a page has to know to be allowed to change things.
class Change_token {
public:
    /// What a token has at least, in bytes.
    static constexpr int least_size = 16;

    /// None: nothing can be changed.
    Change_token() = default;

    /// One that nobody has seen.
    static Change_token make();

    /// The first line of a file; one that is not there is made, and may be read by its owner alone.
    /// Returns an error's text, or nothing.
    static QString keep_in(const QString& path, Change_token& token);

    bool is_none() const { return text_.isEmpty(); }
    const QByteArray& text() const { return text_; }

    /// Whether it is this one. Takes as long for a wrong one, wherever that differs.
    bool is(const QByteArray& guess) const;

private:
    explicit Change_token(const QByteArray& text) : text_(text) {}

    QByteArray text_;
};
