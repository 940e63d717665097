// Lines in bytes that come in any pieces.

#include "Line_splitter.h"

#include <QTest>

class Splitter_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void lines_are_split()
    {
        Line_splitter lines(5);
        lines.add("one\ntw");
        QCOMPARE(lines.next().value_or("none"), QByteArray("one"));
        QVERIFY(!lines.next().has_value());
        lines.add("o\n\nthree");
        QCOMPARE(lines.next().value_or("none"), QByteArray("two"));
        QCOMPARE(lines.next().value_or("none"), QByteArray(""));
        QVERIFY(!lines.next().has_value());
        QVERIFY(!lines.is_too_long());
        lines.add("x");
        QVERIFY(!lines.next().has_value());
        QVERIFY(lines.is_too_long());
    }
};

QTEST_GUILESS_MAIN(Splitter_test)
#include "line_splitter.moc"
