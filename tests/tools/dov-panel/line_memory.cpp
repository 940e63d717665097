// What can be saved of the line.

#include "Line_memory.h"

#include "Line_records.h"

#include <QTest>

#include <algorithm>

class Memory_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void a_text_is_a_recording()
    {
        Line_memory memory;
        memory.add(record_at(0, Sender::host, version_request), 1700000000000000);
        memory.add(record_at(5000, Sender::controller, version_answer), 1700000000000000);
        Line_memory::Text text = memory.text();
        memory.add(record_at(6000, Sender::host, version_request), 1700000000000000);
        const QByteArray saved = text.next();
        QCOMPARE_CONTAINS(saved, "#! began 2023-11-14T22:13:20.000Z\n");
        QCOMPARE_CONTAINS(saved, "\n0.000000 host       18ef78591100000000000000e9  # ");
        QCOMPARE_CONTAINS(saved, "\n0.005000 controller 18ef59781214000000000000fe  # ");
        // What came behind the asking is not part of it.
        QCOMPARE_LACKS(saved, "0.006000");
        QCOMPARE(text.next(), QByteArray());
        QCOMPARE(text.next(), QByteArray());
        QCOMPARE_CONTAINS(memory.text().next(), "0.006000");
    }

    void a_text_comes_in_pieces_of_whole_lines()
    {
        Line_memory memory;
        constexpr int records = 5000;
        for (int i = 0; i < records; ++i) {
            memory.add(record_at(i, Sender::host, version_request), 0);
            // A text of everything so far changes nothing for the next.
            if (i % 100 == 0)
                (void)memory.text();
        }
        Line_memory::Text text = memory.text();
        QByteArray saved;
        for (QByteArray piece = text.next(); !piece.isEmpty(); piece = text.next()) {
            QVERIFY(piece.endsWith('\n'));
            constexpr int line = 200;
            QCOMPARE_LT(static_cast<int>(piece.size()), Line_memory::Text::piece_bytes + line);
            saved += piece;
        }
        QList<QByteArray> lines = saved.split('\n');
        const auto is_none = [](const QByteArray& line) {
            return line.isEmpty() || line.startsWith('#');
        };
        lines.erase(std::remove_if(lines.begin(), lines.end(), is_none), lines.end());
        QCOMPARE(static_cast<int>(lines.size()), records);
        for (int i = 0; i < records; ++i)
            QVERIFY(lines[i].startsWith("0." + QByteArray::number(i).rightJustified(6, '0') + ' '));
    }

    void the_newest_are_remembered_as_far_as_they_fit()
    {
        Line_memory memory;
        constexpr int records = 200000;
        for (int i = 0; i < records; ++i)
            memory.add(record_at(i, Sender::host, version_request), 0);
        QByteArray saved;
        Line_memory::Text text = memory.text();
        for (QByteArray piece = text.next(); !piece.isEmpty(); piece = text.next())
            saved += piece;
        const auto cost = Record_batch::cost_of(record_at(0, Sender::host, version_request));
        const auto most = static_cast<int>(Line_memory::most_bytes / cost);
        const int lines = static_cast<int>(saved.count(" host "));
        QCOMPARE_LE(lines, most);
        QCOMPARE_GT(lines, most * 9 / 10);
        QCOMPARE_CONTAINS(saved, "\n0.199999 host");
    }
};

QTEST_GUILESS_MAIN(Memory_test)
#include "line_memory.moc"
