#include "Meaning.h"

#include "Explanation.h"
#include "Frame.h"

#include <QStringList>

QString meaning_of(const Message& message)
{
    const Message_kind* const kind = find_message(message[0]);
    if (kind == nullptr)
        return QStringLiteral("unknown 0x%1").arg(uint{message[0]}, 2, 16, QLatin1Char('0'));
    QStringList texts;
    for (const Explained_field& each : explain(message)) {
        if (each.field->role != Field_role::fixed)
            texts.append(label_of(*each.field) + QLatin1Char(' ') + each.text);
    }
    const QString name = QString::fromLatin1(kind->label);
    return texts.isEmpty() ? name : name + QStringLiteral(": ") + texts.join(QStringLiteral(", "));
}

QString meaning_of_bytes(const QByteArray& bytes, bool from_controller)
{
    QByteArray repaired = bytes;
    bool wrong_checksum = false;
    if (bytes.size() == Frame::size && Frame::has_sync(bytes)) {
        Message content = Frame::message_of(bytes);
        repaired = Frame::build(content, static_cast<uchar>(bytes[Frame::source_at]),
                                static_cast<uchar>(bytes[Frame::destination_at]));
        wrong_checksum = repaired != bytes;
    }
    if (!Frame::is_whole(repaired))
        return QStringLiteral("no whole frame");
    QString text = meaning_of(Frame::message_of(repaired));
    if (wrong_checksum)
        text += QStringLiteral(" (wrong checksum)");
    const uchar source = from_controller ? Frame::controller_address : Frame::host_address;
    const uchar destination = from_controller ? Frame::host_address : Frame::controller_address;
    if (!Frame::has_addresses(repaired, source, destination))
        text += QStringLiteral(" (wrong addresses)");
    return text;
}
