#pragma once

#include <QByteArray>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

/// One scenario, as a file tells it, a line for each thing that is done or must come of it. Words
/// are separated by blanks; a text is in double quotes, with \n, \r, \t, \", \\ and \xNN; a value
/// is its type and itself: b:true d:0.5 i:-1 u:7 y:255 s:"text".
///
///     # why                              a comment
///     file BELOW TEXT                    a file of the terminal's, before the start
///     answer BYTES                       what the controller answers during the start
///     until BYTES                        it begins when the daemon has sent this message
///     setup call ... | setup > ...       done first; what comes of it does not count
///     > BYTES                            the controller sends a message, in hexadecimal
///     raw BYTES                          the controller sends these bytes
///     call PATH METHOD [VALUE...] [-> VALUE...]   a call on the bus and what it returns
///     < BYTES                            the daemon sends a message
///     out TEXT, err TEXT                 the daemon prints
///     log TEXT                           the daemon logs a line
///     signal PATH NAME [VALUE...]        the daemon signals
///     line                               nothing counts but what the daemon sends
///
/// Messages are filled up with zeros. What is not told must not happen; order counts within each
/// kind. `file` and `answer` give the scenario a daemon of its own, which `until` is for. `dov-line
/// scenario` makes one with `line` of a recording.
struct Scenario {
    struct Step {
        enum class Kind { message, raw, call };

        Kind kind = Kind::message;
        QByteArray bytes; ///< of a message, 8; of raw bytes, all
        QString path;
        QString method;
        QVariantList values;
        QString result; ///< as text
    };

    /// What comes of the steps, as texts.
    struct Outcome {
        QByteArray out;
        QByteArray err;
        QStringList log;
        QStringList signals_seen;
        QStringList requests;
        QStringList results;
    };

    QString name;
    QVector<QPair<QString, QByteArray>> files;
    QVector<QByteArray> answers;
    QVector<QByteArray> awaited; ///< in hexadecimal
    QVector<Step> setup;
    QVector<Step> steps;
    Outcome expected;
    bool only_line = false;

    bool needs_own_daemon() const { return !files.isEmpty() || !answers.isEmpty(); }
    bool has(Step::Kind kind) const;

    /// Whether a message has an identifier that the poll's answers have as well.
    bool concerns_poll() const;

    /// Reads a file; ends the program with a message when it cannot be read.
    static Scenario read(const QString& file_name);

    /// Values as a scenario spells them.
    static QString to_text(const QVariantList& values);
};

/// The identifiers of the poll's answers.
bool is_poll_answer(uchar id);
