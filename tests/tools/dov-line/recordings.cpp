// Recordings as they are read and written: text and pcapng.

#include "Pcapng_writer.h"
#include "Recording_reader.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

namespace {

/// One record as a line, so that lists of them can be compared.
QString text_of(const Line_record& record)
{
    static const char* const kinds[] = {"", " hang-up", " connection"};
    const QByteArray bytes(reinterpret_cast<const char*>(record.data), record.size);
    return QStringLiteral("%1 %2%3 %4")
        .arg(record.time_us)
        .arg(record.sender == Sender::host ? QStringLiteral("host") : QStringLiteral("controller"),
             QLatin1String(kinds[static_cast<int>(record.kind)]),
             QString::fromLatin1(bytes.toHex()))
        .trimmed();
}

} // namespace

class Recordings : public QObject {
    Q_OBJECT

    QTemporaryDir directory_;
    qint64 wall_clock_us_ = -1;

    QString write(const QByteArray& content) const
    {
        QFile file(directory_.filePath(QStringLiteral("line")));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            qFatal("cannot write %s", qPrintable(file.fileName()));
        file.write(content);
        return file.fileName();
    }

    /// What is read, and last the error, without the directory, if there is one.
    QStringList read(const QByteArray& content)
    {
        const auto opened = Recording_reader::open(write(content));
        if (opened.reader == nullptr)
            return {opened.error};
        QStringList records;
        Line_record record;
        while (opened.reader->next(record))
            records.append(text_of(record));
        wall_clock_us_ = opened.reader->wall_clock_us();
        if (!opened.reader->error().isEmpty())
            records.append(
                QString(opened.reader->error()).remove(directory_.path() + QLatin1Char('/')));
        return records;
    }

private Q_SLOTS:
    void text_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QStringList>("records");

        const auto row = [](const char* name, const char* content, const QStringList& records) {
            QTest::newRow(name) << QByteArray(content) << records;
        };
        row("nothing", "", {});
        row("comments and empty lines", "# seconds\n\n   \n#\n", {});
        row("both sides", "0.5 host 18ef\n1.25 controller 01 # explained\n",
            {QStringLiteral("500000 host 18ef"), QStringLiteral("1250000 controller 01")});
        row("bytes apart", "0 host 18 ef\t00\n", {QStringLiteral("0 host 18ef00")});
        row("upper case", "0 host ABCDEF\r\n", {QStringLiteral("0 host abcdef")});
        row("other spellings of a time", "1e-3 host 00\n00000000001.5 host 01\n",
            {QStringLiteral("1000 host 00"), QStringLiteral("1500000 host 01")});
        row("without an end of the last line", "1 host 00", {QStringLiteral("1000000 host 00")});
        row("the line goes and comes", "#! 2.5 hang-up controller\n#! 3 connection controller\n",
            {QStringLiteral("2500000 controller hang-up"),
             QStringLiteral("3000000 controller connection")});
        row("what later programs may say", "#! 2.5 parity host\n#! speed 9600\n1 host 00\n",
            {QStringLiteral("1000000 host 00")});
        row("no time", "x host 00\n", {QStringLiteral("line:1:1: \"x\" is not a time in seconds")});
        row("a time that is too long", "1e9 host 00\n",
            {QStringLiteral("line:1:1: \"1e9\" is not a time in seconds")});
        row("back in time", "2 host 00\n  1 host 00\n",
            {QStringLiteral("2000000 host 00"),
             QStringLiteral("line:2:3: the time is before the last one")});
        row("nobody", "1 guest 00\n",
            {QStringLiteral("line:1:3: \"guest\" is not controller or host")});
        row("half a byte", "1 host 18e\n",
            {QStringLiteral("line:1:10: \"e\" is not two hexadecimal digits a byte")});
        row("cut short", "1 host 18ef\n2 host 18e",
            {QStringLiteral("1000000 host 18ef"),
             QStringLiteral("line:2:10: the recording is cut short: \"e\" is not two hexadecimal "
                            "digits a byte")});
        row("no bytes", "1 host # x\n", {QStringLiteral("line:1:8: no bytes")});
    }

    void text()
    {
        QFETCH(QByteArray, content);
        QFETCH(QStringList, records);
        QCOMPARE(read(content), records);
    }

    void a_line_holds_at_most_65536_bytes()
    {
        QCOMPARE(read("0 host " + QByteArray(65536 * 2, '0') + "\n").size(), 1);
        QCOMPARE(read("0 host " + QByteArray(65537 * 2, '0') + "\n"),
                 QStringList{QStringLiteral("line:1:131080: more than 65536 bytes")});
    }

    void a_line_has_an_end()
    {
        QCOMPARE(read("1 host 00\n0 host " + QByteArray(2 << 20, '0')).last(),
                 QStringLiteral("line:2:1: a line of more than 1 MiB"));
    }

    void wall_clock_is_known_where_it_is_told()
    {
        read("1 host 00\n");
        QCOMPARE(wall_clock_us_, qint64{-1});
        read("#! began 1970-01-01T00:00:01.250Z\n1 host 00\n");
        QCOMPARE(wall_clock_us_, qint64{1250000});
    }

    void lines_across_blocks_are_read_whole()
    {
        QByteArray content;
        QStringList expected;
        for (int i = 0; i < 40000; ++i) {
            content += QByteArray::number(i) + " controller 18ef59781214000000000000fe # some\n";
            expected.append(QString::number(i * qint64{1000000}) +
                            QStringLiteral(" controller 18ef59781214000000000000fe"));
        }
        const QStringList found = read(content);
        QCOMPARE(found.size(), expected.size());
        for (int i = 0; i < found.size(); ++i)
            QCOMPARE(found[i], expected[i]);
    }

    void pcapng_is_read_as_it_was_written()
    {
        const uchar bytes[] = {0x18, 0xEF, 0x59};
        const Line_record records[] = {
            {1000, Sender::host, Line_record::Kind::bytes, bytes, 3},
            {2500, Sender::controller, Line_record::Kind::bytes, bytes, 1},
            {3000, Sender::controller, Line_record::Kind::hang_up, bytes, 0},
        };
        QByteArray content = Pcapng_writer::header();
        for (const Line_record& record : records)
            content += Pcapng_writer::packet(record, 5000000 + record.time_us);
        QCOMPARE(read(content),
                 (QStringList{QStringLiteral("0 host 18ef59"), QStringLiteral("1500 controller 18"),
                              QStringLiteral("2000 controller hang-up")}));
        QCOMPARE(wall_clock_us_, qint64{5001000});
    }

    void pcapng_that_is_not_whole_is_read_up_to_its_end()
    {
        const uchar byte = 0x18;
        const QByteArray header = Pcapng_writer::header();
        const QByteArray packet =
            Pcapng_writer::packet({0, Sender::host, Line_record::Kind::bytes, &byte, 1}, 0);
        for (int cut = 1; cut < packet.size(); ++cut) {
            QCOMPARE(read(header + packet + packet.left(cut)),
                     (QStringList{QStringLiteral("0 host 18"),
                                  QStringLiteral("line: byte %1: the file is cut short")
                                      .arg(header.size() + packet.size())}));
        }
    }

    void pcapng_of_another_line_is_refused()
    {
        QByteArray content = Pcapng_writer::header();
        content[28 + 8] = 1; // Ethernet
        const uchar byte = 0;
        content += Pcapng_writer::packet({0, Sender::host, Line_record::Kind::bytes, &byte, 1}, 0);
        QCOMPARE(read(content),
                 QStringList{QStringLiteral("line: byte 60: packets of link type 1, not 147: "
                                            "nothing of this line")});
    }

    void packets_that_claim_another_size_are_refused_data()
    {
        QTest::addColumn<quint32>("size");
        QTest::newRow("no room for the two bytes in front") << quint32{1};
        QTest::newRow("beyond the block") << quint32{5};
        QTest::newRow("beyond the file") << quint32{1000};
        QTest::newRow("with its padding nothing, in 32 bits") << quint32{0xFFFFFFFE};
        QTest::newRow("the longest") << quint32{0xFFFFFFFF};
    }

    void packets_that_claim_another_size_are_refused()
    {
        QFETCH(quint32, size);
        constexpr int size_at = 20;
        const auto bytes_of = [](quint32 number) {
            const quint32 little = qToLittleEndian(number);
            return QByteArray(reinterpret_cast<const char*>(&little), sizeof little);
        };
        const uchar byte = 0x18;
        const QByteArray header = Pcapng_writer::header();
        QByteArray packet =
            Pcapng_writer::packet({0, Sender::host, Line_record::Kind::bytes, &byte, 1}, 0);
        // No options: the block ends behind the four bytes of the packet.
        const QByteArray length = bytes_of(size_at + 16);
        packet = packet.left(4) + length + packet.mid(8, size_at + 4) + length;
        QCOMPARE(read(header + packet), QStringList{QStringLiteral("0 host 18")});
        packet.replace(size_at, 4, bytes_of(size));
        QCOMPARE(read(header + packet),
                 QStringList{QStringLiteral("line: byte %1: a packet block that does not hold "
                                            "together")
                                 .arg(header.size())});
    }

    void a_file_that_is_not_there_is_named()
    {
        const auto opened = Recording_reader::open(QStringLiteral("/nowhere/line"));
        QVERIFY(opened.reader == nullptr);
        QCOMPARE(opened.error, QStringLiteral("/nowhere/line: No such file or directory"));
    }
};

QTEST_GUILESS_MAIN(Recordings)
#include "recordings.moc"
