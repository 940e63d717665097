#include "Expectation.h"

#include "Field_catalogue.h"
#include "Frame.h"
#include "Frame_reader.h"
#include "Message_text.h"
#include "Trace.h"
#include "Words.h"

#include <algorithm>
#include <cstdlib>

namespace {

const QByteArray directive = "#! expect";

/// What is behind the beginning of a directive; negative for a line that is none.
int directive_end(const QByteArray& line)
{
    int at = 0;
    while (at < line.size() && (line[at] == ' ' || line[at] == '\t'))
        ++at;
    return line.mid(at).startsWith(directive) ? at + static_cast<int>(directive.size()) : -1;
}

uchar take_message(Words& words, const QByteArray& name)
{
    const auto id = identifier_of(QString::fromUtf8(name));
    if (!id)
        words.fail(QStringLiteral("\"%1\" is neither an identifier nor the name of a message")
                       .arg(QString::fromUtf8(name)));
    return id.value_or(0);
}

/// "backlight.level"; null, and the words have failed, when there is no such field.
const Field* take_field(Words& words, const QByteArray& name)
{
    const auto at = name.indexOf('.');
    const uchar id = take_message(words, name.left(at));
    const Field* field = find_field(id, name.mid(at + 1).toStdString());
    if (field == nullptr)
        words.fail(QStringLiteral("\"%1\" is no field of a message").arg(QString::fromUtf8(name)));
    return field;
}

} // namespace

/// Reads a recording line by line.
class Expectation::Reader {
public:
    explicit Reader(Expectation& expectation) : to_(expectation) {}

    void take(const QByteArray& line)
    {
        ++line_;
        const int end = directive_end(line);
        if (end >= 0) {
            take_directive(line, end);
            return;
        }
        // What is wrong with other lines is the recording's own business.
        for (const Trace_entry& entry : Trace::parse(line).entries) {
            if (entry.from_controller)
                ++controller_lines_;
            else
                take_entry(entry);
        }
    }

private:
    void take_entry(const Trace_entry& entry)
    {
        for (const Frame_reader::Found& found : frames_.take(entry.bytes)) {
            Item item;
            item.line = line_;
            item.time_us = entry.time_us;
            item.bytes = found.bytes;
            item.is_frame = found.is_frame;
            item.mask = mask_;
            item.after = controller_lines_;
            item.rules = static_cast<int>(to_.rules_.size()) - 1;
            to_.items_.append(item);
        }
        mask_.clear();
    }

    void take_directive(const QByteArray& line, int end)
    {
        Words words(line, end);
        Rules rules = to_.rules_.constLast();
        switch (words.one_of({"within", "any", "near", "ignore", "mask"})) {
        case 0:
            rules.within_ms = words.time("a time");
            break;
        case 1:
            take_any(words, rules);
            break;
        case 2: {
            const Field* field = take_field(words, words.word("a field"));
            rules.near.append({field, words.whole("a distance", 0, 1 << 30)});
            break;
        }
        case 3:
            rules.ignored.insert(take_message(words, words.word("a message")));
            break;
        default:
            mask_ = words.hex_bytes(1, Frame::size);
        }
        words.expect_end();
        if (words.has_failed())
            to_.errors.append({line_, words.error_column(), words.error()});
        else
            to_.rules_.append(rules);
    }

    static void take_any(Words& words, Rules& rules)
    {
        const QByteArray name = words.word("a message or a field");
        if (name.contains('.'))
            rules.near.append({take_field(words, name), -1});
        else
            rules.any.insert(take_message(words, name));
    }

    Expectation& to_;
    Frame_reader frames_;
    QByteArray mask_;
    int line_ = 0;
    int controller_lines_ = 0;
};

Expectation Expectation::parse(const QByteArray& text)
{
    Expectation expectation;
    Reader reader(expectation);
    for (const QByteArray& line : text.split('\n'))
        reader.take(line);
    return expectation;
}

bool Expectation::ignores(const Item& item, const QByteArray& bytes, bool is_frame) const
{
    return is_frame && rules_[item.rules].ignored.contains(Frame::message_of(bytes)[0]);
}

bool Expectation::takes(const Item& item, const QByteArray& bytes, bool is_frame) const
{
    if (is_frame != item.is_frame || bytes.size() != item.bytes.size())
        return false;
    QByteArray loosened = bytes;
    if (is_frame) {
        const Rules& rules = rules_[item.rules];
        const Message expected = Frame::message_of(item.bytes);
        Message came = Frame::message_of(bytes);
        if (came[0] == expected[0] && rules.any.contains(came[0]))
            came = expected;
        for (const auto& [field, distance] : rules.near) {
            if (field->id != came[0] || field->id != expected[0])
                continue;
            const qint64 number = field->get(expected.data());
            if (distance < 0 || std::abs(field->get(came.data()) - number) <= distance)
                field->put(came, number);
        }
        loosened = Frame::build(came, static_cast<uchar>(bytes[Frame::source_at]),
                                static_cast<uchar>(bytes[Frame::destination_at]));
    }
    for (int at = 0; at < loosened.size(); ++at) {
        const int mask = at < item.mask.size() ? item.mask[at] : 0xFF;
        // The checksum of a frame is right, and another one when something else may be.
        const bool counts = !is_frame || item.mask.isEmpty() || at < Frame::size - 1;
        if (counts && ((loosened[at] ^ item.bytes[at]) & mask) != 0)
            return false;
    }
    return true;
}
