// The simulator's backlog beside one plain queue of whole messages.

#include "Simulator_backlog.h"

#include "Simulator_waveform.h"

#include <QRandomGenerator>
#include <QtTest>
#include <queue>

class Simulator_backlog_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void reports_and_replies_leave_in_order()
    {
        QRandomGenerator random(1);
        Simulator_backlog backlog;
        std::queue<Message> plain;
        quint32 tick = 0;
        QVERIFY(backlog.is_empty());
        for (int step = 0; step < 20000; ++step) {
            const int choice = random.bounded(5);
            if (choice < 2) {
                backlog.add_report();
                plain.push(simulated_digest(++tick));
            } else if (choice == 2) {
                const Message reply = {0x34, 0, static_cast<uchar>(step)};
                backlog.add(reply);
                plain.push(reply);
            } else if (!plain.empty()) {
                QCOMPARE(backlog.take(), plain.front());
                plain.pop();
            }
            QCOMPARE(backlog.is_empty(), plain.empty());
        }
        for (; !plain.empty(); plain.pop())
            QCOMPARE(backlog.take(), plain.front());
        QVERIFY(backlog.is_empty());
    }

    void reply_keeps_its_place_behind_a_row_of_reports()
    {
        constexpr int reports = 1000000;
        const Message reply = {0x34, 0, 0x55};
        Simulator_backlog backlog;
        for (int i = 0; i < reports; ++i)
            backlog.add_report();
        backlog.add(reply);
        backlog.add_report();
        for (int i = 1; i < reports; ++i)
            backlog.take();
        QCOMPARE(backlog.take(), simulated_digest(reports));
        QCOMPARE(backlog.take(), reply);
        QCOMPARE(backlog.take(), simulated_digest(reports + 1));
        QVERIFY(backlog.is_empty());
    }
};

QTEST_GUILESS_MAIN(Simulator_backlog_test)
#include "simulator_backlog.moc"
