#include "Console.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

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
    std::size_t width;
    char text[256][3];
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

void Console::open()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
            (void)::open(_PATH_DEVNULL, O_RDWR); // takes the lowest number, which is this one
    }
    if (same_file(STDOUT_FILENO, STDERR_FILENO))
        err_.shared_ = &out_;
}

void Console::flush()
{
    out_.flush();
    err_.flush();
}

Text_stream& Text_stream::operator<<(std::string_view text)
{
    append(text);
    end_of_piece(text);
    return *this;
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
    char text[32];
    const auto end =
        std::to_chars(std::begin(text), std::end(text), number, std::chars_format::general, 6).ptr;
    return *this << std::string_view(text, static_cast<std::size_t>(end - text));
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
    for (uint i = 0; i < len; ++i)
        append({spelling.text[data[i]], spelling.width});
    return *this;
}

void Text_stream::append(std::string_view text)
{
    if (shared_ != nullptr) {
        shared_->append(text);
        return;
    }
    while (!text.empty()) {
        if (size_ == capacity)
            flush();
        const std::size_t taken = std::min(text.size(), capacity - size_);
        std::memcpy(buffer_.data() + size_, text.data(), taken);
        size_ += taken;
        text.remove_prefix(taken);
    }
}

void Text_stream::end_of_piece(std::string_view piece)
{
    if (Console::batches_ == 0 && !piece.empty() && piece.back() == '\n')
        flush();
}

void Text_stream::flush()
{
    if (shared_ != nullptr) {
        shared_->flush();
        return;
    }
    std::size_t done = 0;
    while (done < size_ && wait_until_writable()) {
        const ssize_t written =
            ::write(descriptor_, buffer_.data() + done, std::min(size_ - done, piece_size));
        if (written >= 0)
            done += static_cast<std::size_t>(written);
        else if (errno != EINTR && errno != EAGAIN)
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
