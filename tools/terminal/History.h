#pragma once

#include <QString>

#include <array>
#include <optional>

/// The last minute of one number, in samples of half a second.
///
/// Pure: the caller says what the number is at each sample; no clock of its own.
class History {
public:
    static constexpr int sample_ms = 500;
    static constexpr int length = 120;

    struct Range {
        double least;
        double greatest;
    };

    /// Adds the number as it is now; nothing while it is not known.
    void add(std::optional<double> value);

    /// The least and the greatest of the last minute; nothing when none is known.
    std::optional<Range> range() const;

    /// The last minute over so many columns, the newest at the right: each column the mean of its
    /// samples, as one of the levels from the lowest to the highest; a blank where none is known.
    /// The least to the greatest takes the whole height, and span at the least, so that noise
    /// looks like noise.
    QString sparkline(int columns, const QString& levels, double span) const;

private:
    std::optional<double> mean(int first, int end) const;

    /// Oldest first, from next_ round.
    std::array<std::optional<double>, length> samples_;
    int next_ = 0;
};
