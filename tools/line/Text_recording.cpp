#include "Text_recording.h"

#include <QByteArray>
#include <QDateTime>

#include <array>
#include <cmath>
#include <cstring>

namespace {

constexpr double longest_s = 1e8;
constexpr qint64 us_per_second = 1000000;
constexpr qint64 us_per_ms = 1000;
constexpr uchar no_digit = 0xff;

constexpr std::array<uchar, 256> make_digits()
{
    std::array<uchar, 256> digits{};
    for (uchar& digit : digits)
        digit = no_digit;
    for (uchar value = 0; value < 10; ++value)
        digits[static_cast<std::size_t>('0' + value)] = value;
    for (uchar value = 0; value < 6; ++value) {
        digits[static_cast<std::size_t>('a' + value)] = static_cast<uchar>(10 + value);
        digits[static_cast<std::size_t>('A' + value)] = static_cast<uchar>(10 + value);
    }
    return digits;
}

constexpr std::array<uchar, 256> digits = make_digits();

constexpr bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

std::size_t skip_blanks(std::string_view line, std::size_t at)
{
    while (at < line.size() && is_blank(line[at]))
        ++at;
    return at;
}

std::size_t word_end(std::string_view line, std::size_t at)
{
    while (at < line.size() && !is_blank(line[at]))
        ++at;
    return at;
}

std::string_view word_at(std::string_view line, std::size_t at)
{
    return line.substr(at, word_end(line, at) - at);
}

QString text_of(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

/// Seconds as digits, a point and at most six digits; -1 for anything else.
qint64 plain_time_us(std::string_view word)
{
    qint64 seconds = 0;
    std::size_t at = 0;
    constexpr std::size_t most_digits = 9;
    for (; at < word.size() && word[at] >= '0' && word[at] <= '9'; ++at)
        seconds = seconds * 10 + (word[at] - '0');
    if (at == 0 || at > most_digits)
        return -1;
    if (at == word.size())
        return seconds * us_per_second;
    if (word[at] != '.' || word.size() - at > 7)
        return -1;
    qint64 fraction = 0;
    qint64 unit = us_per_second;
    for (++at; at < word.size(); ++at) {
        if (word[at] < '0' || word[at] > '9')
            return -1;
        fraction = fraction * 10 + (word[at] - '0');
        unit /= 10;
    }
    return seconds * us_per_second + fraction * unit;
}

/// Seconds in any spelling of a number; -1 for what is none, or out of range.
qint64 time_us(std::string_view word)
{
    const qint64 plain = plain_time_us(word);
    if (plain >= 0)
        return plain;
    bool good = false;
    const double seconds = QByteArray(word.data(), static_cast<int>(word.size())).toDouble(&good);
    if (!good || !(seconds >= 0) || seconds > longest_s)
        return -1;
    return std::llround(seconds * static_cast<double>(us_per_second));
}

bool read_sender(std::string_view word, Sender& sender)
{
    sender = word == "controller" ? Sender::controller : Sender::host;
    return word == "controller" || word == "host";
}

} // namespace

Text_recording::Text_recording(std::unique_ptr<Byte_source> source) : source_(std::move(source))
{
    bytes_.reserve(most_bytes);
}

bool Text_recording::next(Line_record& record)
{
    std::string_view line;
    while (error_.isEmpty() && next_line(line)) {
        const std::size_t at = skip_blanks(line, 0);
        if (at == line.size())
            continue;
        const bool is_directive = line.substr(at, 2) == "#!";
        if (line[at] == '#' && !is_directive)
            continue;
        if (is_directive ? read_directive(line, record) : read_entry(line, record))
            return true;
    }
    return false;
}

bool Text_recording::next_line(std::string_view& line)
{
    std::size_t searched = 0;
    while (!ended_) {
        const void* newline =
            std::memchr(source_->begin() + searched, '\n', source_->size() - searched);
        if (newline != nullptr) {
            const auto length =
                static_cast<std::size_t>(static_cast<const char*>(newline) - source_->begin());
            line = {source_->begin(), length};
            source_->consume(length + 1);
            ++line_;
            return true;
        }
        searched = source_->size();
        if (source_->fill())
            continue;
        ended_ = true;
        ++line_;
        if (!source_->error().isEmpty())
            return fail(0, source_->error());
        if (searched >= Byte_source::block)
            return fail(0, QStringLiteral("a line of more than 1 MiB"));
        is_cut_ = searched > 0;
        line = {source_->begin(), searched};
        return is_cut_;
    }
    return false;
}

bool Text_recording::read_entry(std::string_view line, Line_record& record)
{
    std::size_t at = skip_blanks(line, 0);
    record.time_us = time_us(word_at(line, at));
    if (record.time_us < 0)
        return fail(at, QStringLiteral("\"%1\" is not a time in seconds")
                            .arg(text_of(word_at(line, at).substr(0, 40))));
    if (!is_in_order(record.time_us))
        return fail(at, QStringLiteral("the time is before the last one"));
    at = skip_blanks(line, word_end(line, at));
    if (!read_sender(word_at(line, at), record.sender))
        return fail(at, QStringLiteral("\"%1\" is not controller or host")
                            .arg(text_of(word_at(line, at).substr(0, 40))));
    record.kind = Line_record::Kind::bytes;
    record.missing = 0;
    if (!read_bytes(line, word_end(line, at), record))
        return false;
    last_us_ = record.time_us;
    return true;
}

bool Text_recording::read_bytes(std::string_view line, std::size_t at, Line_record& record)
{
    bytes_.clear();
    for (at = skip_blanks(line, at); at < line.size() && line[at] != '#';) {
        const uchar high = digits[static_cast<uchar>(line[at])];
        const uchar low =
            at + 1 < line.size() ? digits[static_cast<uchar>(line[at + 1])] : no_digit;
        if (high == no_digit || low == no_digit)
            return fail(at, QStringLiteral("\"%1\" is not two hexadecimal digits a byte")
                                .arg(text_of(word_at(line, at).substr(0, 40))));
        if (bytes_.size() == most_bytes)
            return fail(at, QStringLiteral("more than %1 bytes").arg(most_bytes));
        bytes_.push_back(static_cast<uchar>(high << 4 | low));
        at += 2;
        if (at < line.size() && is_blank(line[at]))
            at = skip_blanks(line, at);
    }
    if (bytes_.empty())
        return fail(at, QStringLiteral("no bytes"));
    record.data = bytes_.data();
    record.size = static_cast<int>(bytes_.size());
    return true;
}

bool Text_recording::read_directive(std::string_view line, Line_record& record)
{
    std::size_t at = skip_blanks(line, skip_blanks(line, 0) + 2);
    const std::string_view first = word_at(line, at);
    at = skip_blanks(line, word_end(line, at));
    if (first == "began") {
        const QDateTime began =
            QDateTime::fromString(text_of(word_at(line, at)), Qt::ISODateWithMs);
        if (began.isValid())
            wall_clock_us_ = began.toMSecsSinceEpoch() * us_per_ms;
        return false;
    }
    record.time_us = time_us(first);
    const std::string_view event = word_at(line, at);
    at = skip_blanks(line, word_end(line, at));
    if (record.time_us < 0 || !is_in_order(record.time_us) ||
        !read_sender(word_at(line, at), record.sender))
        return false;
    record.missing = 0;
    if (event == "hang-up") {
        record.kind = Line_record::Kind::hang_up;
    } else if (event == "connection") {
        record.kind = Line_record::Kind::connection;
    } else if (event == "gap") {
        at = skip_blanks(line, word_end(line, at));
        record.kind = Line_record::Kind::gap;
        record.missing = text_of(word_at(line, at)).toULongLong();
    } else {
        return false;
    }
    record.data = nullptr;
    record.size = 0;
    last_us_ = record.time_us;
    return true;
}

bool Text_recording::fail(std::size_t at, const QString& text)
{
    const QString why = is_cut_ ? QStringLiteral("the recording is cut short: ") + text : text;
    error_ = QStringLiteral("%1:%2:%3: %4").arg(source_->name()).arg(line_).arg(at + 1).arg(why);
    return false;
}
