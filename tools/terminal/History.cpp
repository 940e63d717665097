#include "History.h"

#include <algorithm>

void History::add(std::optional<double> value)
{
    samples_[static_cast<std::size_t>(next_)] = value;
    next_ = (next_ + 1) % length;
}

std::optional<History::Range> History::range() const
{
    std::optional<Range> range;
    for (const std::optional<double>& sample : samples_) {
        if (!sample)
            continue;
        if (!range)
            range = Range{*sample, *sample};
        range->least = std::min(range->least, *sample);
        range->greatest = std::max(range->greatest, *sample);
    }
    return range;
}

std::optional<double> History::mean(int first, int end) const
{
    double sum = 0.0;
    int known = 0;
    for (int i = first; i < end; ++i) {
        const std::optional<double>& sample =
            samples_[static_cast<std::size_t>((next_ + i) % length)];
        if (sample) {
            sum += *sample;
            ++known;
        }
    }
    if (known == 0)
        return std::nullopt;
    return sum / known;
}

QString History::sparkline(int columns, const QString& levels, double span) const
{
    const std::optional<Range> range = this->range();
    QString line(std::max(columns, 0), QLatin1Char(' '));
    if (!range)
        return line;
    const double height = std::max(range->greatest - range->least, span);
    const int top = static_cast<int>(levels.size()) - 1;
    for (int column = 0; column < columns; ++column) {
        const int first = column * length / columns;
        const int end = std::max((column + 1) * length / columns, first + 1);
        const std::optional<double> value = mean(first, end);
        if (!value)
            continue;
        const double part = height > 0.0 ? (*value - range->least) / height : 0.0;
        line[column] = levels[std::clamp(static_cast<int>(part * (top + 1)), 0, top)];
    }
    return line;
}
