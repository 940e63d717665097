// docs/protocol.md against the program's catalogue of messages.

#include "Document.h"
#include "Message_catalogue.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <algorithm>
#include <numeric>

namespace {

constexpr int frame_size = 13;
constexpr int id_offset = 4;

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
    return static_cast<uchar>(frame[id_offset]);
}

/// The example frames of a section.
QStringList frames_of(const Document::Section& section)
{
    QStringList frames;
    for (const QStringList& block : section.blocks(QStringLiteral("frames")))
        frames.append(block);
    return frames;
}

bool has_right_checksum(const QByteArray& frame)
{
    const auto sum =
        std::accumulate(frame.begin(), frame.end() - 1, 0U,
                        [](uint before, char byte) { return before + static_cast<uchar>(byte); });
    return static_cast<uchar>(frame.back()) == (sum & 0xFF);
}

/// Whether every argument of a frame that is not 0 belongs to a field.
bool keeps_to_layout(const QByteArray& frame)
{
    const QList<int> named = field_bytes(id_of(frame));
    for (int i = 1; i < 8; ++i) {
        if (frame[id_offset + i] != 0 && !named.contains(i))
            return false;
    }
    return true;
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

    void every_layout_has_frames_of_its_own()
    {
        for (const Message_kind& kind : message_catalogue) {
            const QString title = id_text(kind.id) + QLatin1Char(' ') + QLatin1String(kind.label);
            const QStringList frames = frames_of(document().section(title));
            QVERIFY2(!frames.isEmpty(), qPrintable(title));
            for (const QString& frame : frames)
                QCOMPARE(id_of(frame_bytes(frame)), kind.id);
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
        QCOMPARE(frame.size(), frame_size);
        const Message_kind* kind = find_message(id_of(frame));
        QVERIFY(kind != nullptr);
        const bool to_controller = kind->direction == Direction::to_controller;
        QCOMPARE(frame.left(id_offset).toHex(),
                 QByteArray(to_controller ? "18ef7859" : "18ef5978"));
        QVERIFY(has_right_checksum(frame));
        QVERIFY(keeps_to_layout(frame));
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
