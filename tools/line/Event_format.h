#pragma once

#include "Line_event.h"

#include <QJsonObject>
#include <QString>

#include <array>
#include <optional>

/// How the time of an event is written.
enum class Time_style : uchar {
    relative, ///< seconds since the recording began
    absolute, ///< the wall clock, UTC, where the recording knows it
    delta,    ///< seconds since the event written last
};

/// Takes "relative", "absolute" or "delta"; false for anything else.
bool parse_time_style(const QString& text, Time_style& style);

/// Writes events: a line for people, an object of JSON or a row of CSV for programs.
///
/// What changed since the last message of the same identifier is marked: it has to see every
/// event, also those that are not written.
///
/// Thread: any one.
class Event_format {
public:
    /// `wall_clock_us`: of the recording's time 0, since 1970 (UTC); -1 when it is not known.
    void set_wall_clock(qint64 wall_clock_us) { wall_clock_us_ = wall_clock_us; }

    /// Looks at the next event, before it is written or passed over.
    void see(const Line_event& event);

    /// Time, sender, name, fields with units, those that changed with "*" behind the name, what is
    /// wrong, and the other half of request and answer.
    QString line(const Line_event& event, Time_style style);

    /// The same as an object; "fields" has an object by each field's name.
    QJsonObject json(const Line_event& event) const;

    /// The names of the columns.
    static QString csv_header();
    QString csv(const Line_event& event) const;

private:
    /// Whether a field differs from the last message's of its identifier.
    bool has_changed(const uchar* message, int first, int size) const;
    QString time_text(const Line_event& event, Time_style style);
    QString fields_text(const Line_event& event) const;

    qint64 wall_clock_us_ = -1;
    qint64 last_written_us_ = -1;
    /// The last two messages of each identifier, the newest one first.
    struct Last_messages {
        Message newest{};
        Message before{};
        int count = 0;
    };
    std::array<Last_messages, 256> last_{};
};
