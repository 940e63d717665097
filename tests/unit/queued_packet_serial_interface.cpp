// Queue and answers, on a link without a line.

#include "Queued_packet_serial_interface.h"

#include "Controller_frame.h"
#include "Loopback_link.h"
#include "Waiting.h"

#include <QElapsedTimer>

#include <algorithm>
#include <thread>

class Queued_packet_serial_interface_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void one_request_at_a_time()
    {
        Loopback_link link;
        link.send_message(0x0d, 1);
        link.send_message(0x0d, 2);
        link.send_message(0x31, 3);
        QCOMPARE(link.written, QVector<QByteArray>{hex("18ef78590d01000000000000e6")});
        link.arrive(controller_frame(hex("1c00000000000000"))); // unsolicited
        QCOMPARE(link.written.size(), 1);
        link.arrive(controller_frame(hex("0d00000000000000"))); // no answer either
        QCOMPARE(link.written.size(), 1);
        link.arrive(controller_frame(hex("0e00000000000000")));
        QCOMPARE(link.written.size(), 2);
        link.timeout(); // given up, not repeated
        QCOMPARE(link.written.size(), 3);
        QCOMPARE(link.written[2].mid(4, 2), hex("3103"));
        link.arrive(controller_frame(hex("0e00000000000000"))); // late: compared with the new head
        link.arrive(controller_frame(hex("3200000000000000")));
        link.timeout();
        QCOMPARE(link.written.size(), 3);
        link.send_message(0x01);
        QCOMPARE(link.written.size(), 4);
    }

    void answer_moves_the_queue_before_other_receivers_see_it()
    {
        Loopback_link link;
        int written_when_seen = 0;
        connect(&link, &Packet_serial_interface::handle_packet, &link,
                [&] { written_when_seen = static_cast<int>(link.written.size()); });
        link.send_message(0x01);
        link.send_message(0x11);
        link.arrive(controller_frame(hex("0200000000000000")));
        QCOMPARE(written_when_seen, 2);
    }

    void request_is_kept_as_it_was_when_it_was_sent()
    {
        Loopback_link link;
        uchar payload[8] = {0x0d, 1};
        link.send_packet(payload, 8);
        payload[1] = 2;
        link.send_packet(payload, 8);
        payload[1] = 3;
        link.timeout();
        QCOMPARE(link.written.value(1).mid(4, 2), hex("0d02"));
    }

    void request_may_come_from_any_thread()
    {
        Loopback_link link;
        std::thread sender([&link] {
            link.send_message(0x0d, 1);
            link.send_message(0x0d, 2);
        });
        sender.join();
        QCOMPARE(link.written.size(), 1);
        WAIT_UNTIL(link.written.size(), ==, 2); // 300 ms later
    }

    void time_for_an_answer_is_over_once()
    {
        Loopback_link link;
        const auto timers = link.findChildren<QTimer*>();
        QCOMPARE(timers.size(), 1);
        QVERIFY(timers[0]->isSingleShot());
        QVERIFY(!timers[0]->isActive());
        link.send_message(0x01);
        QVERIFY(timers[0]->isActive());
        link.arrive(controller_frame(hex("0200000000000000")));
        QVERIFY(timers[0]->isActive()); // to find that there is nothing to do
        link.timeout();
        QVERIFY(!timers[0]->isActive());
        link.send_message(0x01);
        link.clear_queue();
        QVERIFY(timers[0]->isActive());
    }

    void cleared_queue_sends_nothing_more()
    {
        Loopback_link link;
        link.send_message(0x01);
        link.send_message(0x11);
        link.clear_queue();
        link.arrive(controller_frame(hex("0200000000000000")));
        link.timeout();
        QCOMPARE(link.written.size(), 1);
    }

    void oversize_payload_holds_the_queue_until_its_time_is_over()
    {
        Loopback_link link;
        const uchar payload[256] = {};
        QVERIFY(link.send_packet(payload, 256));
        link.send_message(0x01);
        QCOMPARE_EMPTY(link.written);
        link.timeout();
        QCOMPARE(link.written.size(), 1);
    }

    void unanswered_request_gives_way_after_300_ms()
    {
        qint64 fastest_ms = patience_ms;
        for (const QDeadlineTimer deadline(patience_ms);
             fastest_ms > 320 && !deadline.hasExpired();) {
            Loopback_link link;
            QElapsedTimer clock;
            clock.start();
            link.send_message(0x01);
            link.send_message(0x11);
            WAIT_UNTIL(link.written.size(), ==, 2);
            fastest_ms = std::min(fastest_ms, clock.elapsed());
        }
        QCOMPARE_GE(fastest_ms, 299);
        QCOMPARE_LT(fastest_ms, 500);
    }

    void what_answers_nothing_gives_no_more_time()
    {
        Loopback_link link;
        QTimer unsolicited;
        connect(&unsolicited, &QTimer::timeout, &link,
                [&link] { link.arrive(controller_frame(hex("1c00000000000000"))); });
        link.send_message(0x01);
        link.send_message(0x11);
        unsolicited.start(20);
        WAIT_UNTIL(link.written.size(), ==, 2);
    }

    void next_request_has_its_own_300_ms()
    {
        Loopback_link link;
        QElapsedTimer clock;
        QTimer::singleShot(200, &link, [&] {
            if (link.written.size() == 1)
                clock.start();
            link.arrive(controller_frame(hex("0200000000000000")));
        });
        link.send_message(0x01);
        link.send_message(0x11);
        link.send_message(0x15);
        WAIT_UNTIL(link.written.size(), ==, 3);
        // On a busy machine the answer may come too late to be one.
        QVERIFY(!clock.isValid() || clock.elapsed() >= 299);
    }
};

QTEST_GUILESS_MAIN(Queued_packet_serial_interface_test)
#include "queued_packet_serial_interface.moc"
