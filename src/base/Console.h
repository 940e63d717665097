#pragma once

#include <QtGlobal>

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

/// How a dump of bytes spells each byte.
enum class Byte_style {
    lower_spaced,  ///< "%02x ": two lower-case digits and a blank
    lower_joined,  ///< "%02x"
    padded_spaced, ///< "%2x ": lower case, padded with a blank, and a blank
    padded_joined, ///< "%2x"
    upper_joined,  ///< "%02X": two upper-case digits
};

/// One diagnostic text stream of the process, standard output or standard error.
///
/// Text collects until a line ends and leaves as one write; while a Console_batch lives, until
/// the batch ends. When both streams lead to the same file, their texts share one buffer and
/// keep their common order. A reader that is slow is waited for, until the process is told to
/// quit: see Console::interrupt_on. A stream that cannot be written drops its text.
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
    Text_stream& operator<<(int number);
    Text_stream& operator<<(uint number);
    /// As "%g" spells it, with a point in every locale.
    Text_stream& operator<<(double number);

    /// Appends as printf does.
    [[gnu::format(printf, 2, 3)]] Text_stream& format(const char* format, ...);

    /// Appends `label`, then `len` bytes in the given style.
    Text_stream& bytes(std::string_view label, Byte_style style, const uchar* data, uint len);

    /// Writes what has collected, now.
    void flush();

private:
    friend class Console;

    void append(std::string_view text);
    void append_in_parts(std::string_view text);
    void end_line();
    void open_anew();
    bool wait_until_writable();

    static constexpr std::size_t capacity = 32768;

    int descriptor_;
    Text_stream* collector_; ///< the stream that collects the text: of two to one file, the first
    bool blocks_ = true;     ///< a write that finds no room waits for it
    bool abandoned_ = false; ///< told to quit, and the reader did not follow
    std::size_t size_ = 0;
    std::array<char, capacity> buffer_{};
};

/// The process's two text streams.
class Console {
public:
    static Text_stream& out() { return out_; }
    static Text_stream& err() { return err_; }

    /// Opens /dev/null on each of the descriptors 0, 1 and 2 that is closed, so that no file
    /// opened later takes its number and the streams' text; joins the streams when they lead to
    /// one file. Call first.
    static void open();

    /// From the moment `descriptor` is readable, a reader that does not follow is waited for no
    /// longer than 200 ms, and its text dropped. No descriptor, the initial state, is -1.
    static void interrupt_on(int descriptor) { interrupt_ = descriptor; }

    /// Waits for no reader longer than 200 ms from now on.
    static void stop_waiting() { stopping_ = true; }

    /// Writes what has collected, then lets go what was put behind it. What leaves the process in
    /// another way, and follows a text, asks for it first.
    static void flush();

    /// Whether texts collect beyond the end of a line.
    static bool is_collecting() { return batches_ > 0; }

    /// Calls `let_go` once, when the texts that have collected so far have left.
    static void put_behind_texts(void (*let_go)()) { let_go_ = let_go; }

private:
    friend class Text_stream;
    friend class Console_batch;

    static Text_stream out_;
    static Text_stream err_;
    static int interrupt_;
    static bool stopping_;
    static int batches_;
    static void (*let_go_)();
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
    if (Console::batches_ == 0)
        flush();
}

/// While one lives, text collects beyond the end of a line; the last to end writes it.
class Console_batch {
public:
    Console_batch() { ++Console::batches_; }
    ~Console_batch()
    {
        if (--Console::batches_ == 0)
            Console::flush();
    }
    Console_batch(const Console_batch&) = delete;
    Console_batch& operator=(const Console_batch&) = delete;
};
