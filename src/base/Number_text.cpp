#include "Number_text.h"

#include <charconv>
#include <cstring>
#include <iterator>

namespace {

/// The texts of the numbers spelled last, by their bits.
constexpr int index_bits = 8;
constexpr quint64 spreading_factor = 0x9E3779B97F4A7C15; ///< 2^64 / the golden ratio

struct Spelled {
    quint64 bits;
    quint8 size; ///< 0 when there is none
    char text[15];
};

Spelled spelled_last[1 << index_bits] = {};

template <class... Arguments>
quint8 spell(char (&text)[15], Arguments... arguments)
{
    const auto end = std::to_chars(std::begin(text), std::end(text), arguments...).ptr;
    return static_cast<quint8>(end - text);
}

} // namespace

Number_text::Number_text(int number) : size_(spell(text_, number))
{
}

Number_text::Number_text(uint number) : size_(spell(text_, number))
{
}

Number_text::Number_text(double number)
{
    quint64 bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    Spelled& spelled = spelled_last[bits * spreading_factor >> (64 - index_bits)];
    if (spelled.bits != bits || spelled.size == 0) {
        spelled.size = spell(spelled.text, number, std::chars_format::general, 6);
        spelled.bits = bits;
    }
    std::memcpy(text_, spelled.text, sizeof text_);
    size_ = spelled.size;
}
