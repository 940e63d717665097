#pragma once

#include <QByteArray>
#include <QVector>

/// A value that changes with time: a pure function, so that every run shows the same.
///
/// Levels are in the unit of the input they are for, times in milliseconds.
class Waveform {
public:
    enum class Shape { constant, sine, triangle, square, ramp, random };

    /// Always `value`.
    static Waveform constant(double value);

    /// From `low` to `high` and back (ramp: up and at once down again; square: `low` for the
    /// first half) once each `period_ms`, which is above 0. At time 0 each is at its lowest, but
    /// the sine is in the middle and rises.
    static Waveform periodic(Shape shape, double low, double high, qint64 period_ms);

    /// A new value between `low` and `high` each `period_ms`; the same ones for the same seed.
    static Waveform random(double low, double high, qint64 period_ms, quint32 seed);

    /// The value at a time, which is 0 or more.
    double at(qint64 time_ms) const;

    /// What commands call the shapes, in the order of Shape.
    static const QVector<QByteArray>& shape_names();

    Shape shape() const { return shape_; }
    double low() const { return low_; }
    double high() const { return high_; }
    qint64 period_ms() const { return period_ms_; }
    quint32 seed() const { return seed_; }

private:
    Waveform(Shape shape, double low, double high, qint64 period_ms, quint32 seed);

    /// The share of the way from low to high, 0 to 1.
    double level_at(qint64 time_ms) const;

    Shape shape_;
    double low_;
    double high_;
    qint64 period_ms_;
    quint32 seed_;
};
