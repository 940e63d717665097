#pragma once

#include <ostream>
#include <streambuf>

/// Syslog as an output stream: each line becomes one message (syslog(3)).
///
/// A message holds at most 254 characters; a longer line is split there. Text without a line end
/// waits for the next line end or flush. Nothing is locked. Thread: main.
namespace Logger {

/// Collects one line and hands it to syslog.
class Buf : public std::basic_streambuf<char> {
public:
    explicit Buf(int priority) : priority_(priority) {}

    /// The syslog priority of what is sent from now on.
    void set_priority(int priority) { priority_ = priority; }

protected:
    /// Sends what has collected, if anything; always 0.
    int sync() override;

    /// Takes at most `count` characters; each line end sends. A byte 0xFF ends the write: what
    /// came before it is sent, the rest is not taken. Returns how many were taken.
    std::streamsize xsputn(const char* text, std::streamsize count) override;

    /// Takes one character; a line end or the end of the file sends. Returns the character.
    int_type overflow(int_type character) override;

private:
    bool make_room();

    static constexpr unsigned int longest = 255; ///< with the terminating NUL

    char line_[256];
    int count_ = 0;
    int priority_;
};

class OStream : public std::basic_ostream<char> {
public:
    explicit OStream(int priority);

    void set_priority(int priority);

private:
    Buf buf_;
    int priority_;
};

/// The process's connection to syslog; one at a time.
class Channel {
public:
    /// Opens the log as openlog() does; `ident` has to live as long. The flag is kept and
    /// not used.
    Channel(const char* ident, int option, int facility, bool flag);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    /// The stream, set to a priority, and fit to be written even after a write that failed.
    OStream& stream(int priority);

    /// Logs as vsyslog() does, past the stream.
    [[gnu::format(printf, 3, 4)]] void format(int priority, const char* format, ...);

private:
    const char* ident_;
    int option_;
    int facility_;
    [[maybe_unused]] unsigned char spare_;
    OStream stream_;
};

} // namespace Logger
