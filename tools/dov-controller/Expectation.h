#pragma once

#include "Field.h"
#include "Text_error.h"

#include <QByteArray>
#include <QPair>
#include <QSet>
#include <QVector>

/// What a host has said in a recording, and how exactly it is to say so again.
///
/// Lines of the recording that begin with "#! expect" loosen it, from there on:
///
///     #! expect within 2s               a host's bytes may come so much later than recorded (5 s)
///     #! expect any backlight           a message of this kind, whatever is in it
///     #! expect any backlight.level     whatever this field says
///     #! expect near backlight.level 5  a number at most so far from the recorded one
///     #! expect ignore power_button_poll   it may come or not, at any time
///
/// and, for the host's next line alone, bit by bit: 0 for those that do not count:
///
///     #! expect mask ffffffffffff00ffffffffff00
class Expectation {
public:
    /// A frame of the host's, or bytes between its frames.
    struct Item {
        int line = 0; ///< of the file, from 1
        qint64 time_us = 0;
        QByteArray bytes;
        bool is_frame = false;
        QByteArray mask; ///< empty when all counts
        int after = 0;   ///< so many lines of the controller's stand before it
        int rules = 0;   ///< those that hold here
    };

    static Expectation parse(const QByteArray& text);

    QVector<Text_error> errors; ///< what could not be read

    const QVector<Item>& items() const { return items_; }

    /// How much later than recorded an item may come, in milliseconds.
    qint64 within_ms(const Item& item) const { return rules_[item.rules].within_ms; }

    /// Whether bytes do not concern an item: they are of a kind that is ignored there.
    bool ignores(const Item& item, const QByteArray& bytes, bool is_frame) const;

    /// Whether bytes are what an item expects.
    bool takes(const Item& item, const QByteArray& bytes, bool is_frame) const;

private:
    struct Rules {
        qint64 within_ms = 5000;
        QSet<uchar> ignored;
        QSet<uchar> any;
        QVector<QPair<const Field*, qint64>> near; ///< and how far; -1 for any distance
    };

    class Reader;

    QVector<Item> items_;
    QVector<Rules> rules_ = {Rules()};
};
