#pragma once

#include "Interface_base.h"

#include <QByteArray>
#include <QSignalSpy>

#include <limits>

/// The doubles that no reading and no setting is expected to be.
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double huge = 1.7e308;

/// The values of each signal that a spy has seen.
inline QList<QVariantList> seen(const QSignalSpy& spy)
{
    return spy;
}

/// Offers an object a message spelled in hexadecimal; whether it used it.
inline bool offer(Interface_base& object, const QByteArray& hex)
{
    const QByteArray bytes = QByteArray::fromHex(hex);
    return object.handle_message(reinterpret_cast<const uchar*>(bytes.constData()),
                                 static_cast<uint>(bytes.size()));
}

/// What a method with one output returns, whose output begins as `before`.
template <class Object, class Class, class Value>
Value output_of(Object& object, void (Class::*method)(Value&), Value before = {})
{
    (object.*method)(before);
    return before;
}
