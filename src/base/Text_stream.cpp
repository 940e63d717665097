#include "Text_stream.h"

#include "Number_text.h"
#include "Reader_patience.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// A pipe that polls writable takes this much without blocking (POSIX, pipe).
constexpr std::size_t piece_size = PIPE_BUF;

} // namespace

Text_stream& Text_stream::operator<<(int number)
{
    return *this << Number_text(number).view();
}

Text_stream& Text_stream::operator<<(uint number)
{
    return *this << Number_text(number).view();
}

Text_stream& Text_stream::operator<<(double number)
{
    return *this << Number_text(number).view();
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
    for (uint done = 0; done < len; done += Byte_text::most)
        append(Byte_text(style, data + done, std::min(len - done, Byte_text::most)).view());
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
    abandoned_ = abandoned_ || !Reader_patience::wait_for(descriptor_);
    return !abandoned_;
}
