#pragma once

#include <QtGlobal>

#include <cstddef>
#include <string_view>

/// How a dump of bytes spells each byte.
enum class Byte_style {
    lower_spaced,  ///< "%02x ": two lower-case digits and a blank
    lower_joined,  ///< "%02x"
    padded_spaced, ///< "%2x ": lower case, padded with a blank, and a blank
    padded_joined, ///< "%2x"
    upper_joined,  ///< "%02X": two upper-case digits
};

/// A few bytes as text.
class Byte_text {
public:
    /// So many bytes at once.
    static constexpr uint most = 64;

    /// Spells `len` bytes, at most `most`.
    Byte_text(Byte_style style, const uchar* data, uint len);

    std::string_view view() const { return {text_, size_}; }

private:
    static constexpr std::size_t word = 4; ///< room for a byte's text to be copied as one word

    std::size_t size_;
    char text_[most * word];
};
