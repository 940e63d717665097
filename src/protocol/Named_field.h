#pragma once

#include "Field_catalogue.h"

#include <cstdlib>
#include <optional>
#include <type_traits>

/// A number for a field.
struct Field_value {
    const Field* field;
    qint64 number;
};

/// A field of the catalogue for those who know at compile time which one they read or write: by
/// identifier and name. Declared constexpr, a name that the catalogue does not have, or a type
/// that does not hold the field's numbers, is an error of the compiler, and reading is a
/// comparison and a load.
template <class Value>
class Named_field {
public:
    constexpr Named_field(uchar id, std::string_view name) : row_(&catalogued(id, name)) {}

    /// The number in a message; none when it is another message or ends before the field does.
    constexpr std::optional<Value> read(const uchar* data, uint len) const
    {
        if (!row_->is_in(data, len))
            return std::nullopt;
        return static_cast<Value>(row_->get(data));
    }

    /// The number in a message that is this one and whole.
    constexpr Value of(const Message& message) const
    {
        return static_cast<Value>(row_->get(message.data()));
    }

    /// The same in the field's unit: volts, for example.
    constexpr std::optional<double> read_scaled(const uchar* data, uint len) const
    {
        if (!row_->is_in(data, len))
            return std::nullopt;
        return row_->scaled(row_->get(data));
    }

    /// A number in the field's unit.
    constexpr double scaled(Value number) const { return row_->scaled(number); }

    /// Puts a number into a message, as many bits of it as there is room for.
    template <class Number>
    constexpr void write(Message& message, Number number) const
    {
        row_->put(message, static_cast<qint64>(number));
    }

    /// The number for message_with().
    template <class Number>
    constexpr Field_value is(Number number) const
    {
        return {row_, static_cast<qint64>(number)};
    }

    /// The row of the catalogue.
    constexpr const Field& row() const { return *row_; }

private:
    static constexpr const Field& catalogued(uchar id, std::string_view name)
    {
        const Field* const field = find_field(id, name);
        if (field == nullptr || !holds(field->type))
            std::abort(); // no constant expression
        return *field;
    }

    static constexpr bool holds(Field_type type)
    {
        switch (type) {
        case Field_type::u8:
        case Field_type::one_more:
        case Field_type::bits:
        case Field_type::two_bits:
            return std::is_same_v<Value, uchar>;
        case Field_type::i8:
            return std::is_same_v<Value, qint8>;
        case Field_type::u16:
            return std::is_same_v<Value, quint16>;
        case Field_type::flag:
            return std::is_same_v<Value, bool>;
        case Field_type::version:
        case Field_type::bytes:
            return std::is_same_v<Value, qint64>;
        }
        return false;
    }

    const Field* row_;
};

using U8_field = Named_field<uchar>;
using I8_field = Named_field<qint8>;
using U16_field = Named_field<quint16>;
using Flag_field = Named_field<bool>;
using Long_field = Named_field<qint64>; ///< of versions and of several bytes

/// A message with these fields, all of the same kind; its other fields are 0 or what they always
/// are.
template <class... Others>
constexpr Message message_with(const Field_value& first, const Others&... others)
{
    Message message = blank_message(first.field->id);
    first.field->put(message, first.number);
    ((Q_ASSERT(others.field->id == first.field->id), others.field->put(message, others.number)),
     ...);
    return message;
}
