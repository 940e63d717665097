#include "Output.h"

#include "Verb.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace {

constexpr int enough = 64 * 1024;

} // namespace

void Output::line(const QString& text)
{
    line(text.toUtf8());
}

void Output::line(const QByteArray& text)
{
    collected_ += text;
    collected_ += '\n';
    if (collected_.size() >= enough)
        flush();
}

bool Output::flush()
{
    for (int done = 0; done < collected_.size() && !has_failed_;) {
        const ssize_t count = ::write(STDOUT_FILENO, collected_.constData() + done,
                                      static_cast<std::size_t>(collected_.size() - done));
        if (count >= 0) {
            done += static_cast<int>(count);
        } else if (errno != EINTR) {
            complain(QStringLiteral("standard output: ") +
                     QString::fromLocal8Bit(std::strerror(errno)));
            has_failed_ = true;
        }
    }
    collected_.clear();
    return !has_failed_;
}
