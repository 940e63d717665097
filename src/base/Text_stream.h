#pragma once

#include "Byte_text.h"
#include "Console_batch.h"

#include <QtGlobal>

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

/// One diagnostic text stream of the process, standard output or standard error.
///
/// Text collects until a line ends and leaves as one write; while a Console_batch lives, until the
/// batch ends. A reader that is slow is waited for, as Reader_patience says; one that is not waited
/// for any longer is left behind for good. A stream that cannot be written drops its text.
///
/// Thread: main.
class Text_stream {
public:
    /// Writes to `descriptor`.
    explicit constexpr Text_stream(int descriptor) : descriptor_(descriptor), collector_(this) {}
    Text_stream(const Text_stream&) = delete;
    Text_stream& operator=(const Text_stream&) = delete;

    Text_stream& operator<<(std::string_view text)
    {
        append(text);
        if (!text.empty() && text.back() == '\n')
            end_line();
        return *this;
    }
    Text_stream& operator<<(char character) { return *this << std::string_view(&character, 1); }

    /// As Number_text spells it.
    Text_stream& operator<<(int number);
    Text_stream& operator<<(uint number);
    Text_stream& operator<<(double number);

    /// Appends as printf does.
    [[gnu::format(printf, 2, 3)]] Text_stream& format(const char* format, ...);

    /// Appends `label`, then `len` bytes in the given style.
    Text_stream& bytes(std::string_view label, Byte_style style, const uchar* data, uint len);

    /// Writes what has collected, now.
    void flush();

    /// From now on `other` collects the text and writes it: the texts of both keep their common
    /// order. For streams that lead to one file.
    void join(Text_stream& other) { collector_ = &other; }

    /// Leads the text to a pipe or a terminal through an opening of its own, which does not block:
    /// it takes as much at a time as there is room for. Those who share the file keep their opening
    /// as it is.
    void open_anew();

private:
    void append(std::string_view text);
    void append_in_parts(std::string_view text);
    void end_line();
    bool wait_until_writable();

    static constexpr std::size_t capacity = 32768;

    int descriptor_;
    Text_stream* collector_; ///< the stream that collects the text: this one, or the one joined
    bool blocks_ = true;     ///< a write that finds no room waits for it
    bool abandoned_ = false; ///< its reader has been left behind
    std::size_t size_ = 0;
    std::array<char, capacity> buffer_{};
};

// Here, because most pieces are literals: they become a few stores each.
inline void Text_stream::append(std::string_view text)
{
    Text_stream& collector = *collector_;
    if (text.size() > capacity - collector.size_) {
        collector.append_in_parts(text);
        return;
    }
    std::memcpy(collector.buffer_.data() + collector.size_, text.data(), text.size());
    collector.size_ += text.size();
}

inline void Text_stream::end_line()
{
    if (!Console_batch::is_open())
        flush();
}
