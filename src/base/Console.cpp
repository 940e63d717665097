#include "Console.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include <fcntl.h>
#include <paths.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int last_wait_ms = 200;

/// A pipe that polls writable takes this much without blocking (POSIX, pipe).
constexpr std::size_t piece_size = PIPE_BUF;

/// A style's spelling of every byte.
struct Byte_spelling {
    /// Of one byte, with room to be copied as one word.
    using Text = char[4];

    std::size_t width;
    Text text[256];
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

/// The texts of the numbers spelled last, by their bits: most inputs report the same ones again.
class Number_texts {
public:
    std::string_view of(double number)
    {
        quint64 bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        Entry& entry = entries_[bits * spreading_factor >> (64 - index_bits)];
        if (entry.bits != bits || entry.size == 0) {
            const auto end = std::to_chars(std::begin(entry.text), std::end(entry.text), number,
                                           std::chars_format::general, 6);
            entry.size = static_cast<quint8>(end.ptr - entry.text);
            entry.bits = bits;
        }
        return {entry.text, entry.size};
    }

private:
    static constexpr int index_bits = 8;
    static constexpr quint64 spreading_factor = 0x9E3779B97F4A7C15; ///< 2^64 / the golden ratio

    struct Entry {
        quint64 bits;
        quint8 size;   ///< 0 for an entry that is not in use
        char text[15]; ///< "-1.23457e+308" is the longest
    };
    Entry entries_[1 << index_bits] = {};
};

Number_texts number_texts;

bool same_file(int left, int right)
{
    struct stat a;
    struct stat b;
    return fstat(left, &a) == 0 && fstat(right, &b) == 0 && a.st_dev == b.st_dev &&
           a.st_ino == b.st_ino;
}

} // namespace

Text_stream Console::out_(STDOUT_FILENO);
Text_stream Console::err_(STDERR_FILENO);
int Console::interrupt_ = -1;
bool Console::stopping_ = false;
int Console::batches_ = 0;
void (*Console::let_go_)() = nullptr;

void Console::open()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
            (void)::open(_PATH_DEVNULL, O_RDWR); // takes the lowest number, which is this one
    }
    if (same_file(STDOUT_FILENO, STDERR_FILENO))
        err_.collector_ = &out_;
    out_.open_anew();
    err_.open_anew();
}

void Console::flush()
{
    out_.flush();
    err_.flush();
    if (const auto let_go = std::exchange(let_go_, nullptr))
        let_go();
}

Text_stream& Text_stream::operator<<(int number)
{
    char text[16];
    const auto end = std::to_chars(std::begin(text), std::end(text), number).ptr;
    return *this << std::string_view(text, static_cast<std::size_t>(end - text));
}

Text_stream& Text_stream::operator<<(uint number)
{
    char text[16];
    const auto end = std::to_chars(std::begin(text), std::end(text), number).ptr;
    return *this << std::string_view(text, static_cast<std::size_t>(end - text));
}

Text_stream& Text_stream::operator<<(double number)
{
    append(number_texts.of(number));
    return *this;
}

Text_stream& Text_stream::format(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    if (length <= 0)
        return *this;
    std::string text(static_cast<std::size_t>(length), '\0');
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    va_end(arguments);
    return *this << text;
}

Text_stream& Text_stream::bytes(std::string_view label, Byte_style style, const uchar* data,
                                uint len)
{
    append(label);
    const Byte_spelling& spelling = byte_spellings[static_cast<std::size_t>(style)];
    char text[64 * sizeof(Byte_spelling::Text)];
    for (uint done = 0; done < len;) {
        char* end = text;
        for (const uint stop = std::min(len, done + 64); done < stop; ++done) {
            std::memcpy(end, spelling.text[data[done]], sizeof(Byte_spelling::Text));
            end += spelling.width;
        }
        append({text, static_cast<std::size_t>(end - text)});
    }
    return *this;
}

void Text_stream::append_in_parts(std::string_view text)
{
    while (!text.empty()) {
        if (size_ == capacity)
            flush();
        const std::size_t taken = std::min(text.size(), capacity - size_);
        std::memcpy(buffer_.data() + size_, text.data(), taken);
        size_ += taken;
        text.remove_prefix(taken);
    }
}

/// Leads the text to a pipe or a terminal through an opening of its own, which does not block: it
/// takes as much at a time as there is room for. Those who share the file keep their opening as it
/// is.
void Text_stream::open_anew()
{
    struct stat status;
    if (fstat(descriptor_, &status) != 0)
        return;
    const bool can_stall = S_ISFIFO(status.st_mode) || isatty(descriptor_) == 1;
    if (!can_stall)
        return;
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor_);
    const int flags = fcntl(descriptor_, F_GETFL);
    const int opened = ::open(path.c_str(), flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (opened < 0)
        return;
    descriptor_ = opened;
    blocks_ = false;
}

void Text_stream::flush()
{
    if (collector_ != this) {
        collector_->flush();
        return;
    }
    std::size_t done = 0;
    while (done < size_ && (!blocks_ || wait_until_writable())) {
        const std::size_t left = size_ - done;
        const ssize_t written = ::write(descriptor_, buffer_.data() + done,
                                        blocks_ ? std::min(left, piece_size) : left);
        if (written >= 0)
            done += static_cast<std::size_t>(written);
        else if (errno == EAGAIN ? !wait_until_writable() : errno != EINTR)
            break;
    }
    size_ = 0;
}

bool Text_stream::wait_until_writable()
{
    while (!abandoned_) {
        pollfd waited[] = {{descriptor_, POLLOUT, 0}, {Console::interrupt_, POLLIN, 0}};
        const bool stopping = Console::stopping_;
        const int ready = poll(waited, stopping ? 1 : 2, stopping ? last_wait_ms : -1);
        if (waited[0].revents != 0)
            return true;
        if (ready > 0)
            Console::stopping_ = true;
        else if (ready == 0)
            abandoned_ = true;
    }
    return false;
}
