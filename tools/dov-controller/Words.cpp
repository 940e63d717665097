#include "Words.h"

#include <cmath>

namespace {

constexpr qint64 longest_ms = 7LL * 24 * 3600 * 1000;

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

QString quoted(const QByteArray& text)
{
    return QLatin1Char('"') + QString::fromUtf8(text) + QLatin1Char('"');
}

} // namespace

Words::Words(const QByteArray& line, int skip)
{
    int at = skip;
    while (at < line.size()) {
        if (is_blank(line[at])) {
            ++at;
            continue;
        }
        if (line[at] == '#')
            break;
        const int begin = at;
        while (at < line.size() && !is_blank(line[at]))
            ++at;
        words_.append({line.mid(begin, at - begin), begin + 1});
        end_column_ = at + 1;
    }
}

QByteArray Words::peek() const
{
    return at_end() ? QByteArray() : words_[next_].text;
}

QByteArray Words::word(const char* what)
{
    if (has_failed())
        return {};
    if (at_end()) {
        column_ = end_column_;
        fail(QLatin1String(what) + QStringLiteral(" is missing"));
        return {};
    }
    column_ = words_[next_].column;
    return words_[next_++].text;
}

int Words::one_of(const QVector<QByteArray>& choices)
{
    QString list;
    for (int i = 0; i < choices.size(); ++i) {
        if (i > 0)
            list += i + 1 == choices.size() ? QStringLiteral(" or ") : QStringLiteral(", ");
        list += QString::fromLatin1(choices[i]);
    }
    const QByteArray text = word(qPrintable(list));
    const int position = static_cast<int>(choices.indexOf(text));
    if (position < 0)
        fail(quoted(text) + QStringLiteral(" is not ") + list);
    return has_failed() ? 0 : position;
}

bool Words::on_or_off()
{
    return one_of({"on", "off"}) == 0;
}

int Words::whole(const char* what, int least, int most)
{
    const QByteArray text = word(what);
    bool good = false;
    // Base 0 would take a leading 0 for octal.
    const bool is_hex = text.startsWith("0x");
    const int value = is_hex ? text.mid(2).toInt(&good, 16) : text.toInt(&good, 10);
    if (!good || value < least || value > most)
        fail(QStringLiteral("%1 is not %2 from %3 to %4")
                 .arg(quoted(text), QLatin1String(what))
                 .arg(least)
                 .arg(most));
    return has_failed() ? least : value;
}

uchar Words::byte(const char* what)
{
    return static_cast<uchar>(whole(what, 0, 255));
}

double Words::number(const char* what, double least, double most)
{
    const QByteArray text = word(what);
    bool good = false;
    const double value = text.toDouble(&good);
    if (!good || !std::isfinite(value) || value < least || value > most)
        fail(QStringLiteral("%1 is not %2 from %3 to %4")
                 .arg(quoted(text), QLatin1String(what))
                 .arg(least)
                 .arg(most));
    return has_failed() ? least : value;
}

qint64 Words::time(const char* what)
{
    const QByteArray text = word(what);
    const std::optional<qint64> value = to_time(text);
    if (!value)
        fail(QStringLiteral("%1 is not %2: a number with ms, s or min")
                 .arg(quoted(text), QLatin1String(what)));
    return has_failed() ? 0 : *value;
}

QByteArray Words::hex_bytes(int least, int most)
{
    QByteArray bytes;
    while (!at_end() && !has_failed()) {
        const QByteArray text = word("a byte");
        const QByteArray some = QByteArray::fromHex(text);
        if (some.toHex() != text.toLower())
            fail(quoted(text) + QStringLiteral(" is not two hexadecimal digits a byte"));
        bytes.append(some);
        if (bytes.size() > most)
            fail(QStringLiteral("more than %1 bytes").arg(most));
    }
    if (bytes.size() < least && !has_failed()) {
        column_ = end_column_;
        fail(QStringLiteral("%1 of at least %2 bytes").arg(bytes.size()).arg(least));
    }
    return bytes;
}

void Words::fail(const QString& text)
{
    if (has_failed())
        return;
    error_ = text;
    error_column_ = column_;
}

void Words::expect_end()
{
    if (!has_failed() && !at_end()) {
        const QByteArray text = word("");
        fail(quoted(text) + QStringLiteral(" is one word too many"));
    }
}

std::optional<qint64> Words::to_time(const QByteArray& text)
{
    struct Unit {
        const char* name;
        double ms;
    };
    // "ms" before "s": the longer one first.
    static constexpr Unit units[] = {{"ms", 1}, {"min", 60000}, {"s", 1000}};
    for (const Unit& unit : units) {
        if (!text.endsWith(unit.name))
            continue;
        bool good = false;
        const double value =
            text.left(text.size() - static_cast<int>(qstrlen(unit.name))).toDouble(&good) * unit.ms;
        if (!good || !(value >= 0) || value > static_cast<double>(longest_ms))
            return std::nullopt;
        return std::llround(value);
    }
    return std::nullopt;
}
