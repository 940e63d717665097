#include "Message_text.h"

#include "Explanation.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr int most_arguments = message_size - 1;

/// Fields by name.
std::optional<Message> message_with_fields(uchar id, const QStringList& words, QString& error)
{
    const Message_kind* kind = find_message(id);
    if (kind == nullptr) {
        error = QStringLiteral("%1: the protocol knows no fields of it").arg(name_of(id));
        return std::nullopt;
    }
    QVector<Named_text> fields;
    for (const QString& word : words) {
        const auto at = word.indexOf(QLatin1Char('='));
        if (at <= 0) {
            error = QStringLiteral("\"%1\" is not FIELD=VALUE").arg(word);
            return std::nullopt;
        }
        fields.append({word.left(at), word.mid(at + 1)});
    }
    return compose(*kind, fields, error);
}

std::optional<Message> message_with_arguments(uchar id, const QString& hex, QString& error)
{
    Message message = blank_message(id);
    if (hex.isEmpty())
        return message;
    const auto arguments = bytes_of_hex(hex);
    if (!arguments) {
        error = QStringLiteral("\"%1\" is neither FIELD=VALUE nor bytes of two hexadecimal digits")
                    .arg(hex);
        return std::nullopt;
    }
    if (arguments->size() > most_arguments) {
        error = QStringLiteral("a message has %1 arguments, not %2")
                    .arg(most_arguments)
                    .arg(arguments->size());
        return std::nullopt;
    }
    message = ::message(id);
    std::copy(arguments->begin(), arguments->end(), message.begin() + 1);
    return message;
}

} // namespace

std::optional<uchar> identifier_of(const QString& text)
{
    if (const Message_kind* kind = find_message(std::string_view(text.toStdString())))
        return kind->id;
    bool good = false;
    const uint id = text.startsWith(QLatin1String("0x")) ? text.mid(2).toUInt(&good, 16)
                                                         : text.toUInt(&good, 10);
    return good && id <= 255 ? std::optional<uchar>(static_cast<uchar>(id)) : std::nullopt;
}

std::optional<Message> message_of(const QStringList& words, QString& error)
{
    const auto id = identifier_of(words.value(0));
    if (!id) {
        error = QStringLiteral("\"%1\" is neither an identifier nor the name of a message")
                    .arg(words.value(0));
        return std::nullopt;
    }
    const QStringList rest = words.mid(1);
    const bool has_fields = std::any_of(rest.begin(), rest.end(), [](const QString& word) {
        return word.contains(QLatin1Char('='));
    });
    return has_fields ? message_with_fields(*id, rest, error)
                      : message_with_arguments(*id, rest.join(QLatin1Char(' ')), error);
}

std::optional<QByteArray> bytes_of_hex(const QString& text)
{
    const QByteArray digits = text.simplified().toLatin1();
    QByteArray bytes;
    for (const QByteArray& word : digits.split(' ')) {
        const bool are_digits = std::all_of(word.begin(), word.end(),
                                            [](char c) { return std::isxdigit(uchar(c)) != 0; });
        if (!are_digits || word.isEmpty() || word.size() % 2 != 0)
            return std::nullopt;
        bytes += QByteArray::fromHex(word);
    }
    return bytes;
}

QString name_of(uchar id)
{
    const Message_kind* kind = find_message(id);
    return QStringLiteral("0x%1 %2")
        .arg(uint{id}, 2, 16, QLatin1Char('0'))
        .arg(kind == nullptr ? QStringLiteral("unknown") : QString::fromLatin1(kind->label));
}
