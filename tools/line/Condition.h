#pragma once

#include <QString>

#include <optional>

/// How two numbers are held against each other.
enum class Relation : uchar { not_equal, at_most, at_least, equal, below, above };

/// "NAME>VALUE", taken apart.
struct Condition {
    QString name;
    Relation relation;
    QString value;
};

/// Takes a condition apart at the first of != <= >= = < >; none when it has none of them, or no
/// name.
std::optional<Condition> split_condition(const QString& text);

template <class Number>
bool holds(Number left, Relation relation, Number right)
{
    switch (relation) {
    case Relation::not_equal:
        return left < right || left > right;
    case Relation::at_most:
        return left <= right;
    case Relation::at_least:
        return left >= right;
    case Relation::equal:
        return left >= right && left <= right;
    case Relation::below:
        return left < right;
    case Relation::above:
        break;
    }
    return left > right;
}
