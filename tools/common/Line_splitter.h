#pragma once

#include <QByteArray>

#include <optional>

/// The lines in bytes that come in any pieces.
class Line_splitter {
public:
    /// `most`: what a line may have, in bytes.
    explicit Line_splitter(int most) : most_(most) {}

    void add(const QByteArray& bytes) { pending_.append(bytes); }

    /// The next whole line, without its end; none when there is none yet, or it is too long.
    std::optional<QByteArray> next();

    /// What is behind the last whole line; empties it.
    QByteArray take_rest();

    /// Whether a line was longer than it may be; nothing comes then any more.
    bool is_too_long() const { return is_too_long_; }

private:
    int most_;
    QByteArray pending_;
    int begin_ = 0; ///< what is before has been told
    bool is_too_long_ = false;
};
