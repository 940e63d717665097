#pragma once

#include "Message.h"

#include <string_view>

/// How a field stands in the bytes of its message.
enum class Field_type : uchar {
    u8,
    i8,       ///< two's complement
    u16,      ///< high byte first
    flag,     ///< 0 is off, anything else on; written as 0 and 1
    one_more, ///< u8, one more than what it stands for, 8 bits of it
    bits,     ///< one bit an input, input 0 the lowest
    two_bits, ///< an Output_code for each output, output 0 the lowest
    version,  ///< patch, minor, major
    bytes,    ///< in the order of the line
};

/// How people write a field's number.
enum class Field_style : uchar {
    decimal,
    hexadecimal,
    named, ///< by its code; one without is written in hexadecimal
};

enum class Field_role : uchar {
    value,
    unread, ///< a controller may fill it in; the host does not look at it
    fixed,  ///< always the same number
};

/// A part of a constant array.
template <class Item>
class List {
public:
    constexpr List() = default;
    constexpr List(const Item* begin, const Item* end) : begin_(begin), end_(end) {}
    template <std::size_t count>
    constexpr List(const Item (&items)[count]) : List(items, items + count)
    {
    }

    constexpr const Item* begin() const { return begin_; }
    constexpr const Item* end() const { return end_; }
    constexpr std::size_t size() const { return static_cast<std::size_t>(end_ - begin_); }
    constexpr bool empty() const { return begin_ == end_; }
    constexpr const Item& operator[](std::size_t at) const { return begin_[at]; }

private:
    const Item* begin_ = nullptr;
    const Item* end_ = nullptr;
};

/// What the numbers from one to another mean.
struct Code {
    int first;
    int last;
    const char* name;
};

/// What a number counts.
struct Unit {
    const char* on_the_line; ///< of the number as it is sent; may be empty
    const char* name;        ///< of the number times `scale`
    double scale;
};

/// One field of one message. See Field_catalogue.h for all of them.
///
/// Its number is what its bytes say before any scale: of a flag 0 or 1, of a version
/// major x 65536 + minor x 256 + patch, of bytes the first one the highest.
struct Field {
    uchar id;    ///< of the message
    uchar first; ///< byte of the message, whose byte 0 is the identifier
    uchar size;  ///< in bytes
    Field_type type;
    uchar count = 1;  ///< of inputs or outputs
    uchar second = 0; ///< where the same byte stands once more; 0 for nowhere
    Field_role role = Field_role::value;
    Field_style style = Field_style::decimal;
    const char* name = "";  ///< for programs: lower case, with underscores
    const char* label = ""; ///< for people
    qint64 least = 0;       ///< of the numbers that are sent, those with a code of their own aside
    qint64 most = 0;
    Unit unit = {"", "", 1};
    List<Code> codes = {};

    /// How long a message has to be, identifier included, for the field to be in it.
    constexpr uint end() const { return uint{first} + size; }

    constexpr bool is_in(const uchar* data, uint len) const { return len >= end() && *data == id; }

    /// The number in a message that is long enough.
    constexpr qint64 get(const uchar* data) const;

    /// Puts a number, as many bits of it as there is room for.
    constexpr void put(Message& message, qint64 number) const;

    /// The number in its unit, volts for example.
    constexpr double scaled(qint64 number) const
    {
        return static_cast<double>(number) * unit.scale;
    }

    /// What the number means, or null.
    constexpr const char* code_name(qint64 number) const;

    /// Whether the number is in the field's range or has a code.
    constexpr bool may_be(qint64 number) const
    {
        return (number >= least && number <= most) || code_name(number) != nullptr;
    }

    // For the rows of the catalogue: the same field, but.
    constexpr Field named(const char* for_programs, const char* for_people) const;
    constexpr Field in(const Unit& counted) const;
    constexpr Field from(qint64 lowest, qint64 highest) const;
    constexpr Field means(List<Code> meanings) const;
    constexpr Field written(Field_style how) const;
    constexpr Field not_read() const;
    constexpr Field always(qint64 number) const;
    constexpr Field one_of(List<Code> meanings) const;
    constexpr Field also_at(uchar byte) const;
};

constexpr qint64 Field::get(const uchar* data) const
{
    const uchar* at = data + first;
    switch (type) {
    case Field_type::u8:
    case Field_type::bits:
    case Field_type::two_bits:
        return *at;
    case Field_type::i8:
        return static_cast<signed char>(*at);
    case Field_type::flag:
        return *at != 0 ? 1 : 0;
    case Field_type::one_more:
        return static_cast<uchar>(*at - 1);
    case Field_type::version:
        return at[2] << 16 | at[1] << 8 | at[0];
    case Field_type::u16:
        return at[0] << 8 | at[1];
    case Field_type::bytes:
        break;
    }
    qint64 number = 0;
    for (int i = 0; i < size; ++i)
        number = number << 8 | at[i];
    return number;
}

constexpr void Field::put(Message& message, qint64 number) const
{
    const auto bits = static_cast<quint64>(type == Field_type::one_more ? number + 1
                                           : type == Field_type::flag   ? qint64{number != 0}
                                                                        : number);
    for (uint i = 0; i < size; ++i) {
        const uint shift = 8 * (type == Field_type::version ? i : size - 1 - i);
        message[first + i] = static_cast<uchar>(bits >> shift);
    }
    if (second != 0)
        message[second] = message[first];
}

constexpr const char* Field::code_name(qint64 number) const
{
    for (const Code& code : codes) {
        if (number >= code.first && number <= code.last)
            return code.name;
    }
    return nullptr;
}

constexpr Field Field::named(const char* for_programs, const char* for_people) const
{
    Field field = *this;
    field.name = for_programs;
    field.label = for_people;
    return field;
}

constexpr Field Field::in(const Unit& counted) const
{
    Field field = *this;
    field.unit = counted;
    return field;
}

constexpr Field Field::from(qint64 lowest, qint64 highest) const
{
    Field field = *this;
    field.least = lowest;
    field.most = highest;
    return field;
}

constexpr Field Field::means(List<Code> meanings) const
{
    Field field = *this;
    field.codes = meanings;
    return field;
}

constexpr Field Field::written(Field_style how) const
{
    Field field = *this;
    field.style = how;
    return field;
}

constexpr Field Field::not_read() const
{
    Field field = *this;
    field.role = Field_role::unread;
    return field;
}

constexpr Field Field::always(qint64 number) const
{
    Field field = from(number, number);
    field.role = Field_role::fixed;
    return field;
}

constexpr Field Field::one_of(List<Code> meanings) const
{
    return from(0, -1).means(meanings).written(Field_style::named);
}

constexpr Field Field::also_at(uchar byte) const
{
    Field field = *this;
    field.second = byte;
    return field;
}
