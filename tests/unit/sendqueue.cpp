#include "SendQueue.h"

#include <QTest>

class Send_queue_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void oldest_first()
    {
        SendQueue queue;
        QVERIFY(!queue.front());
        QVERIFY(!queue.push("a"));
        QVERIFY(queue.push("b"));
        QVERIFY(queue.push("c"));
        QCOMPARE(*queue.front(), QByteArray("a"));
        QCOMPARE(*queue.pop(), QByteArray("b"));
        QCOMPARE(*queue.pop(), QByteArray("c"));
        QVERIFY(!queue.pop());
        QVERIFY(!queue.pop());
        QVERIFY(!queue.push("d"));
        queue.clear();
        QVERIFY(!queue.front());
    }

    void entries_are_copies()
    {
        SendQueue queue;
        QByteArray payload = "abc";
        queue.push(payload);
        payload[0] = 'x';
        QCOMPARE(*queue.front(), QByteArray("abc"));
    }
};

QTEST_GUILESS_MAIN(Send_queue_test)
#include "sendqueue.moc"
