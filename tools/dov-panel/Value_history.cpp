#include "Value_history.h"

#include <algorithm>

void Value_history::add(qint64 now_ms, std::optional<double> value)
{
    const Point point{now_ms, value};
    if (!value || (bin_ && bin_->last.time_ms / bin_ms != now_ms / bin_ms))
        end_bin();
    if (!value) {
        if (points_.empty() || points_.back().value)
            points_.push_back(point);
    } else if (!bin_) {
        bin_ = Bin{point, point, point};
    } else {
        bin_->last = point;
        if (*value < *bin_->least.value)
            bin_->least = point;
        if (*value > *bin_->greatest.value)
            bin_->greatest = point;
    }
    forget(now_ms);
}

/// In the order of time, each once.
std::vector<Value_history::Point> Value_history::points_of(const Bin& bin)
{
    std::vector<Point> points = {bin.least, bin.greatest, bin.last};
    std::stable_sort(points.begin(), points.end(),
                     [](const Point& a, const Point& b) { return a.time_ms < b.time_ms; });
    const auto same = [](const Point& a, const Point& b) {
        return a.time_ms == b.time_ms && !(*a.value < *b.value) && !(*b.value < *a.value);
    };
    points.erase(std::unique(points.begin(), points.end(), same), points.end());
    return points;
}

void Value_history::end_bin()
{
    if (!bin_)
        return;
    const std::vector<Point> points = points_of(*bin_);
    points_.insert(points_.end(), points.begin(), points.end());
    bin_.reset();
}

void Value_history::forget(qint64 now_ms)
{
    while (points_.size() > most_points ||
           (points_.size() > 1 && points_[1].time_ms <= now_ms - length_ms))
        points_.pop_front();
}

QJsonArray Value_history::to_json(bool as_truth) const
{
    std::vector<Point> points(points_.begin(), points_.end());
    if (bin_) {
        const std::vector<Point> present = points_of(*bin_);
        points.insert(points.end(), present.begin(), present.end());
    }
    QJsonArray json;
    for (const Point& point : points) {
        QJsonValue value;
        if (point.value)
            value = as_truth ? QJsonValue(*point.value > 0) : QJsonValue(*point.value);
        json.append(QJsonArray{point.time_ms, value});
    }
    return json;
}
