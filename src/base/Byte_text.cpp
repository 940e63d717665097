#include "Byte_text.h"

#include <cstring>

namespace {

/// A style's spelling of every byte.
struct Byte_spelling {
    std::size_t width;
    char text[256][4];
};

constexpr Byte_spelling spell_bytes(const char* digits, bool padded, std::size_t width)
{
    Byte_spelling spelling{width, {}};
    for (int byte = 0; byte < 256; ++byte) {
        spelling.text[byte][0] = padded && byte < 16 ? ' ' : digits[byte >> 4];
        spelling.text[byte][1] = digits[byte & 15];
        spelling.text[byte][2] = ' ';
    }
    return spelling;
}

constexpr char lower_digits[] = "0123456789abcdef";
constexpr char upper_digits[] = "0123456789ABCDEF";

/// In the order of Byte_style.
constexpr Byte_spelling byte_spellings[] = {
    spell_bytes(lower_digits, false, 3), spell_bytes(lower_digits, false, 2),
    spell_bytes(lower_digits, true, 3),  spell_bytes(lower_digits, true, 2),
    spell_bytes(upper_digits, false, 2),
};

} // namespace

Byte_text::Byte_text(Byte_style style, const uchar* data, uint len)
{
    const Byte_spelling& spelling = byte_spellings[static_cast<std::size_t>(style)];
    static_assert(sizeof spelling.text[0] == word);
    char* end = text_;
    for (uint i = 0; i < len; ++i) {
        std::memcpy(end, spelling.text[data[i]], word);
        end += spelling.width;
    }
    size_ = static_cast<std::size_t>(end - text_);
}
