// docs/protocol.md against the program's catalogue of messages.

#include "Document.h"
#include "Frame.h"
#include "Message_catalogue.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <algorithm>
#include <numeric>

namespace {

const Document& document()
{
    static const Document protocol(QStringLiteral("docs/protocol.md"));
    return protocol;
}

QString id_text(uchar id)
{
    return QStringLiteral("0x%1").arg(uint{id}, 2, 16, QLatin1Char('0'));
}

QString arrow(Direction direction)
{
    return direction == Direction::to_controller ? QStringLiteral("->") : QStringLiteral("<-");
}

/// The byte indexes that a layout names: "[1]", "[2..3]", "[1]..[7]" and "[1] to [3]".
QList<int> named_bytes(const QString& layout)
{
    static const QRegularExpression range(
        QStringLiteral("\\[(\\d)(?:\\]?(?:\\.\\.| to )\\[?(\\d))?\\]"));
    QSet<int> bytes;
    auto found = range.globalMatch(layout);
    while (found.hasNext()) {
        const QRegularExpressionMatch match = found.next();
        const int first = match.captured(1).toInt();
        const int last = match.captured(2).isEmpty() ? first : match.captured(2).toInt();
        for (int byte = first; byte <= last; ++byte)
            bytes.insert(byte);
    }
    QList<int> sorted = bytes.values();
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

/// The bytes that the catalogue has fields for.
QList<int> field_bytes(uchar id)
{
    QSet<int> bytes;
    for (const Field& field : fields_of(id)) {
        for (uint byte = field.first; byte < field.end(); ++byte)
            bytes.insert(static_cast<int>(byte));
        if (field.second != 0)
            bytes.insert(field.second);
    }
    QList<int> sorted = bytes.values();
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

QString hex_text(qint64 number)
{
    return QStringLiteral("`%1`").arg(number, 2, 16, QLatin1Char('0'));
}

QString bytes_text(const Field& field)
{
    const QString text = field.size == 1
                             ? QStringLiteral("`[%1]`").arg(field.first)
                             : QStringLiteral("`[%1..%2]`").arg(field.first).arg(field.end() - 1);
    return field.second == 0 ? text : QStringLiteral("`[%1]` ").arg(field.second) + text;
}

QString type_text(const Field& field)
{
    switch (field.type) {
    case Field_type::u8:
        return QStringLiteral("u8");
    case Field_type::i8:
        return QStringLiteral("i8");
    case Field_type::u16:
        return QStringLiteral("u16");
    case Field_type::flag:
        return QStringLiteral("flag");
    case Field_type::one_more:
        return QStringLiteral("u8, one more");
    case Field_type::bits:
        return QStringLiteral("%1 inputs").arg(field.count);
    case Field_type::two_bits:
        return QStringLiteral("%1 outputs").arg(field.count);
    case Field_type::version:
        return QStringLiteral("version");
    case Field_type::bytes:
        return QStringLiteral("%1 bytes").arg(field.size);
    }
    return {};
}

/// The range of a number; none where the type has said it all.
QString range_text(const Field& field)
{
    const bool is_number = field.type == Field_type::u8 || field.type == Field_type::i8 ||
                           field.type == Field_type::u16 || field.type == Field_type::one_more;
    if (!is_number || field.least > field.most)
        return {};
    if (field.role == Field_role::fixed)
        return QStringLiteral("always %1").arg(field.least);
    return QStringLiteral("%1 to %2").arg(field.least).arg(field.most);
}

QString unit_text(const Field& field)
{
    const QString on_the_line = QString::fromLatin1(field.unit.on_the_line);
    const QString name = QString::fromLatin1(field.unit.name);
    if (!on_the_line.isEmpty() || field.unit.scale == 1)
        return on_the_line.isEmpty() ? name : on_the_line;
    return QStringLiteral("%1 is %2 %3").arg(field.most).arg(field.scaled(field.most)).arg(name);
}

/// What single numbers mean, where the type has not said it, and whether the host reads them.
QString codes_text(const Field& field)
{
    QStringList texts;
    const bool has_own = field.type != Field_type::flag && field.type != Field_type::two_bits;
    for (const Code& code : has_own ? field.codes : List<Code>()) {
        const QString numbers =
            code.first == code.last
                ? hex_text(code.first)
                : hex_text(code.first) + QStringLiteral(" to ") + hex_text(code.last);
        texts.append(numbers + QLatin1Char(' ') + QLatin1String(code.name));
    }
    if (field.role == Field_role::unread)
        texts.append(QStringLiteral("not read"));
    return texts.join(QStringLiteral(", "));
}

/// The row that documents a field.
QString field_row(const Field& field)
{
    return QStringList{bytes_text(field), QStringLiteral("`%1`").arg(QLatin1String(field.name)),
                       type_text(field),  range_text(field),
                       unit_text(field),  codes_text(field)}
        .join(QStringLiteral(" | "));
}

QString row_text(const QString& id, const QString& way, const QString& label,
                 const QList<int>& bytes)
{
    QString text = id + QLatin1Char(' ') + way + QLatin1Char(' ') + label;
    for (const int byte : bytes)
        text += QStringLiteral(" [%1]").arg(byte);
    return text;
}

QByteArray frame_bytes(const QString& line)
{
    return QByteArray::fromHex(line.toLatin1());
}

uchar id_of(const QByteArray& frame)
{
    return static_cast<uchar>(frame[Frame::payload_at]);
}

/// The example frames of a section.
QStringList frames_of(const Document::Section& section)
{
    QStringList frames;
    for (const QStringList& block : section.blocks(QStringLiteral("frames")))
        frames.append(block);
    return frames;
}

/// The arguments of a frame that are not 0 and belong to no field.
QStringList stray_bytes(const QByteArray& frame)
{
    const QList<int> named = field_bytes(id_of(frame));
    QStringList stray;
    for (int i = 1; i < message_size; ++i) {
        if (frame[Frame::payload_at + i] != 0 && !named.contains(i))
            stray.append(QStringLiteral("[%1]").arg(i));
    }
    return stray;
}

} // namespace

class Protocol : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void the_table_is_the_catalogue()
    {
        QStringList documented;
        for (const QStringList& row : document().section(QStringLiteral("Identifiers")).rows())
            documented.append(
                row_text(plain(row[0]), plain(row[1]), row[2], named_bytes(plain(row[3]))));
        QStringList known;
        for (const Message_kind& kind : message_catalogue)
            known.append(row_text(id_text(kind.id), arrow(kind.direction),
                                  QLatin1String(kind.label), field_bytes(kind.id)));
        QCOMPARE(documented, known);
    }

    void every_identifier_has_its_layout()
    {
        QStringList documented;
        for (const Document::Section& section : document().sections()) {
            if (section.title.startsWith(QLatin1String("0x")))
                documented.append(section.title);
        }
        QStringList known;
        for (const Message_kind& kind : message_catalogue)
            known.append(id_text(kind.id) + QLatin1Char(' ') + QLatin1String(kind.label));
        QCOMPARE(documented, known);
    }

    void every_layout_lists_its_fields_data()
    {
        QTest::addColumn<int>("id");
        for (const Message_kind& kind : message_catalogue)
            QTest::newRow(kind.name) << int{kind.id};
    }
    void every_layout_lists_its_fields()
    {
        QFETCH(int, id);
        const Message_kind* const kind = find_message(static_cast<uchar>(id));
        const QString title = id_text(kind->id) + QLatin1Char(' ') + QLatin1String(kind->label);
        QStringList documented;
        for (const QStringList& row : document().section(title).rows())
            documented.append(row.join(QStringLiteral(" | ")));
        QStringList known;
        for (const Field& field : kind->fields())
            known.append(field_row(field));
        QCOMPARE(documented, known);
    }

    void the_frame_is_the_programs()
    {
        const auto rows = document().section(QStringLiteral("The frame")).rows();
        const auto row = [](int at, uchar from_host, uchar from_controller) {
            return QStringList{QString::number(at), hex_text(from_host), hex_text(from_controller)};
        };
        QCOMPARE(rows[0].mid(0, 3), row(0, Frame::sync_1, Frame::sync_1));
        QCOMPARE(rows[1].mid(0, 3), row(1, Frame::sync_2, Frame::sync_2));
        QCOMPARE(rows[2].mid(0, 3),
                 row(Frame::source_at, Frame::host_address, Frame::controller_address));
        QCOMPARE(rows[3].mid(0, 3),
                 row(Frame::destination_at, Frame::controller_address, Frame::host_address));
        QCOMPARE(rows[4].first(), QString::number(Frame::payload_at));
        QCOMPARE(rows[6].first(), QString::number(Frame::size - 1));
        for (int i = 7; i < rows.size(); ++i) {
            const QByteArray payload = QByteArray::fromHex(plain(rows[i][0]).toLatin1());
            QCOMPARE(payload.size(), message_size);
            QCOMPARE(rows[i][1],
                     hex_text(Frame::checksum(reinterpret_cast<const uchar*>(payload.constData()),
                                              message_size)));
        }
        QCOMPARE(rows.size(), 10);
    }

    void every_layout_has_frames_of_its_own()
    {
        for (const Message_kind& kind : message_catalogue) {
            const QString title = id_text(kind.id) + QLatin1Char(' ') + QLatin1String(kind.label);
            const QStringList frames = frames_of(document().section(title));
            QVERIFY2(
                !frames.isEmpty(),
                qPrintable(QStringLiteral("docs/protocol.md has no section \"%1\" with a frame")
                               .arg(title)));
            for (const QString& frame : frames)
                QVERIFY2(id_of(frame_bytes(frame)) == kind.id,
                         qPrintable(QStringLiteral("below \"%1\": %2").arg(title, frame)));
        }
    }

    void every_frame_is_right_data()
    {
        QTest::addColumn<QString>("text");
        const QStringList frames = frames_of(document().sections().first());
        for (int i = 0; i < frames.size(); ++i)
            QTest::addRow("%d: %s", i, qPrintable(frames[i])) << frames[i];
    }
    void every_frame_is_right()
    {
        QFETCH(QString, text);
        const QByteArray frame = frame_bytes(text);
        QCOMPARE(frame.size(), Frame::size);
        const Message_kind* kind = find_message(id_of(frame));
        QVERIFY(kind != nullptr);
        QByteArray expected = QByteArray::fromHex(
            kind->direction == Direction::to_controller ? "18ef7859" : "18ef5978");
        expected += frame.mid(Frame::payload_at, message_size);
        const auto sum = std::accumulate(expected.begin(), expected.end(), 0);
        expected += static_cast<char>(sum);
        QCOMPARE(frame.toHex(' '), expected.toHex(' '));
        QCOMPARE_EMPTY(stray_bytes(frame));
    }

    void identifiers_in_the_text_exist()
    {
        static const QRegularExpression id(QStringLiteral("`0x([0-9a-f]{2})`"));
        for (const QString& line : document().prose()) {
            auto found = id.globalMatch(line);
            while (found.hasNext()) {
                const QString text = found.next().captured(1);
                QVERIFY2(find_message(static_cast<uchar>(text.toUInt(nullptr, 16))) != nullptr,
                         qPrintable(line));
            }
        }
    }
};

QTEST_GUILESS_MAIN(Protocol)
#include "protocol.moc"
