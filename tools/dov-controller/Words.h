#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

#include <optional>

/// The words of one line, taken one by one and turned into values.
///
/// A word that cannot be what it should be is noted as the line's error with its column; from
/// then on every operation returns a default, so that a reader of several words asks only once,
/// at the end, whether all went well. Blanks separate words; from a # on a line is a comment.
class Words {
public:
    /// `skip`: how many bytes of the line belong to somebody else.
    explicit Words(const QByteArray& line, int skip = 0);

    bool at_end() const { return next_ == words_.size(); }

    /// The next word, without taking it; empty at the end.
    QByteArray peek() const;

    /// The next word; `what` names it in the error when there is none.
    QByteArray word(const char* what);

    /// The position of the next word in a list.
    int one_of(const QVector<QByteArray>& choices);

    bool on_or_off();

    /// A whole number in a range: decimal, or hexadecimal after 0x.
    int whole(const char* what, int least, int most);
    uchar byte(const char* what);

    double number(const char* what, double least, double most);

    /// A time: a number and its unit, ms, s or min.
    qint64 time(const char* what);

    /// Hexadecimal bytes: two digits each, the bytes together or apart, to the end of the line.
    QByteArray hex_bytes(int least, int most);

    /// Notes that the word taken last is wrong.
    void fail(const QString& text);

    /// Notes an error if words are left.
    void expect_end();

    bool has_failed() const { return !error_.isNull(); }
    const QString& error() const { return error_; }
    int error_column() const { return error_column_; }

    /// A time as above, if the text is one.
    static std::optional<qint64> to_time(const QByteArray& text);

private:
    struct Word {
        QByteArray text;
        int column;
    };

    QVector<Word> words_;
    int next_ = 0;
    int column_ = 1; ///< of the word taken last, or of the end
    int end_column_ = 1;
    QString error_;
    int error_column_ = 0;
};
