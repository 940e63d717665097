#pragma once

#include <QJsonArray>
#include <QtGlobal>

#include <deque>
#include <optional>
#include <vector>

/// The last ten minutes of a number: of each half second the least, the greatest and the last, so
/// that it takes no more room however often the number changes.
///
/// Pure: the caller says when it is, in milliseconds of any clock.
class Value_history {
public:
    static constexpr qint64 length_ms = 600000;
    static constexpr qint64 bin_ms = 500;
    /// How many points are kept at most.
    static constexpr std::size_t most_points = 3 * (length_ms / bin_ms + 1);

    /// The number is this from now on; nothing when it is not known.
    void add(qint64 now_ms, std::optional<double> value);

    /// As [time, number] or [time, null], oldest first: each holds until the next. The first one
    /// may be older than ten minutes, when it held still then. `as_truth`: 0 and 1 as false and
    /// true.
    QJsonArray to_json(bool as_truth) const;

    std::size_t size() const { return points_.size(); }

private:
    struct Point {
        qint64 time_ms;
        std::optional<double> value;
    };

    /// The present half second.
    struct Bin {
        Point least;
        Point greatest;
        Point last;
    };

    static std::vector<Point> points_of(const Bin& bin);
    void end_bin();
    void forget(qint64 now_ms);

    std::deque<Point> points_;
    std::optional<Bin> bin_;
};
