#include "Waveform.h"

#include <cmath>

namespace {

constexpr double two_pi = 6.283185307179586476925;

/// Mixes 64 bits so that each input gives an output with no visible order (splitmix64).
quint64 mixed(quint64 value)
{
    value += 0x9E3779B97F4A7C15U;
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31U);
}

} // namespace

Waveform::Waveform(Shape shape, double low, double high, qint64 period_ms, quint32 seed)
    : shape_(shape), low_(low), high_(high), period_ms_(period_ms), seed_(seed)
{
}

Waveform Waveform::constant(double value)
{
    return {Shape::constant, value, value, 1, 0};
}

Waveform Waveform::periodic(Shape shape, double low, double high, qint64 period_ms)
{
    return {shape, low, high, period_ms, 0};
}

Waveform Waveform::random(double low, double high, qint64 period_ms, quint32 seed)
{
    return {Shape::random, low, high, period_ms, seed};
}

const QVector<QByteArray>& Waveform::shape_names()
{
    static const QVector<QByteArray> names = {"constant", "sine", "triangle",
                                              "square",   "ramp", "random"};
    return names;
}

double Waveform::at(qint64 time_ms) const
{
    return low_ + (high_ - low_) * level_at(time_ms);
}

double Waveform::level_at(qint64 time_ms) const
{
    const double phase =
        static_cast<double>(time_ms % period_ms_) / static_cast<double>(period_ms_);
    switch (shape_) {
    case Shape::constant:
        break;
    case Shape::sine:
        return 0.5 + 0.5 * std::sin(two_pi * phase);
    case Shape::triangle:
        return phase < 0.5 ? 2 * phase : 2 - 2 * phase;
    case Shape::square:
        return phase < 0.5 ? 0 : 1;
    case Shape::ramp:
        return phase;
    case Shape::random: {
        const auto step = static_cast<quint64>(time_ms / period_ms_);
        constexpr double two_to_53 = 9007199254740992.0;
        return static_cast<double>(mixed(mixed(seed_) ^ step) >> 11U) / two_to_53;
    }
    }
    return 0;
}
