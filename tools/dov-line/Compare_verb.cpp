#include "Compare_verb.h"

#include "Explanation.h"
#include "Line_statistics.h"
#include "Output.h"
#include "Recording_events.h"

#include <array>
#include <limits>

namespace {

/// What a recording is compared by.
struct Content {
    Line_statistics counted{115200};
    std::array<QVector<Message>, 2> messages; ///< by Sender
};

struct Figure {
    const char* name;
    quint64 (Line_statistics::*value)() const;
};

constexpr Figure figures[] = {
    {"frames of the host", &Line_statistics::host_frames},
    {"frames of the controller", &Line_statistics::controller_frames},
    {"wrong checksums", &Line_statistics::checksum_errors},
    {"wrong addresses", &Line_statistics::address_errors},
    {"skipped bytes", &Line_statistics::skipped_bytes},
    {"unknown identifiers", &Line_statistics::unknown_identifiers},
    {"unanswered requests", &Line_statistics::unanswered},
    {"late answers", &Line_statistics::late_answers},
    {"hang-ups", &Line_statistics::hang_ups},
};

bool load(const QString& path, Content& content)
{
    Recording_events events;
    if (!events.open(path))
        return false;
    Line_event event;
    while (events.next(event)) {
        content.counted.take(event);
        if (!event.is_frame())
            continue;
        Message message{};
        std::copy_n(event.message(), message_size, message.begin());
        content.messages[static_cast<std::size_t>(event.sender)].append(message);
    }
    return events.is_whole();
}

QString text_of(const Message& message)
{
    const Message_kind* kind = find_message(message[0]);
    QString text =
        QStringLiteral("0x%1 %2")
            .arg(message[0], 2, 16, QLatin1Char('0'))
            .arg(kind == nullptr ? QStringLiteral("unknown") : QString::fromLatin1(kind->label));
    const auto fields = explain(message);
    for (const Explained_field& field : fields)
        text += QStringLiteral(", %1 %2").arg(label_of(*field.field), field.text);
    return text;
}

/// One by one, in their order; returns how many differ.
int tell_messages(Output& output, const QVector<Message>& first, const QVector<Message>& second,
                  const char* side, int most)
{
    int differences = 0;
    int told = 0;
    const auto longer = std::max(first.size(), second.size());
    for (int i = 0; i < longer; ++i) {
        const bool in_both = i < first.size() && i < second.size();
        if (in_both && first[i] == second[i])
            continue;
        ++differences;
        if (told == most)
            continue;
        ++told;
        output.line(QStringLiteral("%1's message %2").arg(QLatin1String(side)).arg(i + 1));
        if (i < first.size())
            output.line(QStringLiteral("  < ") + text_of(first[i]));
        if (i < second.size())
            output.line(QStringLiteral("  > ") + text_of(second[i]));
    }
    if (differences > told)
        output.line(QStringLiteral("%1: %2 more messages differ")
                        .arg(QLatin1String(side))
                        .arg(differences - told));
    return differences;
}

int tell_figures(Output& output, const Line_statistics& first, const Line_statistics& second)
{
    int differences = 0;
    const auto tell = [&](const QString& name, quint64 left, quint64 right) {
        if (left == right)
            return;
        ++differences;
        output.line(QStringLiteral("%1 %2 %3").arg(name, -34).arg(left, 9).arg(right, 9));
    };
    for (const Figure& figure : figures)
        tell(QLatin1String(figure.name), (first.*figure.value)(), (second.*figure.value)());
    for (uint id = 0; id < 256; ++id) {
        const Message_kind* kind = find_message(static_cast<uchar>(id));
        tell(QStringLiteral("0x%1 %2")
                 .arg(id, 2, 16, QLatin1Char('0'))
                 .arg(kind == nullptr ? QStringLiteral("unknown")
                                      : QString::fromLatin1(kind->label)),
             first.of(static_cast<uchar>(id)).count, second.of(static_cast<uchar>(id)).count);
    }
    return differences;
}

} // namespace

Compare_verb::Compare_verb()
    : Verb("compare", "Tells what differs between two recordings.\n\n"
                      "Figures, and the messages of each side, one by one in their order, without "
                      "their times.")
{
    line().take_arguments(2, 2, QStringLiteral("file file"), QStringLiteral("Two recordings."));
    line().add_switch("all", "Every message that differs, not the first few.", all_);
}

int Compare_verb::run(const QStringList& arguments)
{
    Content first;
    Content second;
    const bool are_whole = load(arguments[0], first);
    if (!load(arguments[1], second) || !are_whole)
        return status_input;

    constexpr int few = 10;
    const int most = all_ ? std::numeric_limits<int>::max() : few;
    Output output;
    int differences = tell_figures(output, first.counted, second.counted);
    differences += tell_messages(output, first.messages[0], second.messages[0], "host", most);
    differences += tell_messages(output, first.messages[1], second.messages[1], "controller", most);
    if (!output.flush())
        return status_output;
    return differences > 0 ? status_found : tool_done;
}
