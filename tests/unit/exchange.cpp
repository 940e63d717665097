#include "Exchange.h"

#include "Message_catalogue.h"

class Exchange_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void every_request_has_its_answer()
    {
        for (const Message_kind& kind : message_catalogue) {
            if (!is_request(kind.id))
                continue;
            const Message_kind* answer = find_message(answer_to(kind.id));
            QVERIFY2(answer != nullptr && answer->direction == Direction::from_controller,
                     kind.name);
            QVERIFY2(is_answer(kind.id, answer->id), kind.name);
        }
        QCOMPARE(response_time_ms, 300);
        QVERIFY(!is_answer(0xFF, 0x00));
        QVERIFY(!is_answer(0x12, 0x12));
        QVERIFY(is_answer(0x12, 0x13));
    }
};

QTEST_GUILESS_MAIN(Exchange_test)
#include "exchange.moc"
