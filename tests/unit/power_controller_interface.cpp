// What is particular to the controller, on a link without a line.

#include "Power_controller_interface.h"

#include "Controller_frame.h"
#include "Loopback_link.h"
#include "Waiting.h"

#include <QElapsedTimer>

#include <algorithm>
#include <chrono>
#include <thread>

class Power_controller_interface_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void arguments_are_0_unless_given()
    {
        Loopback_link link;
        link.send_message(0x01);
        QCOMPARE(link.written, QVector<QByteArray>{hex("18ef78590100000000000000d9")});
        link.timeout();
        link.send_message(0x01, 2, 3, 4, 5, 6, 7, 8);
        QCOMPARE(link.written.value(1), hex("18ef78590102030405060708fc"));
    }

    void closing_a_closed_link_writes_the_last_request_directly()
    {
        Loopback_link link;
        link.send_message(0x01);
        link.send_message(0x11);
        link.close();
        QCOMPARE(link.written.size(), 2);
        QCOMPARE(link.written[1], hex("18ef785935000000000000000d"));
        link.timeout();
        QCOMPARE(link.written.size(), 2); // the last word
    }

    void closing_waits_for_50_ms_of_silence()
    {
        qint64 fastest_ms = patience_ms;
        for (const QDeadlineTimer deadline(patience_ms);
             fastest_ms > 60 && !deadline.hasExpired();) {
            Loopback_link link;
            QElapsedTimer clock;
            clock.start();
            link.close();
            fastest_ms = std::min(fastest_ms, clock.elapsed());
        }
        QCOMPARE_GE(fastest_ms, 49);
        QCOMPARE_LT(fastest_ms, 90);
    }

    void closing_waits_as_long_as_the_writer_goes_on()
    {
        constexpr auto step = std::chrono::milliseconds(10);
        constexpr int steps = 8;
        qint64 longest_ms = 0;
        for (const QDeadlineTimer deadline(patience_ms);
             longest_ms < 100 && !deadline.hasExpired();) {
            Loopback_link link;
            std::thread writer([&] {
                for (int n = 0; n < steps; ++n) {
                    std::this_thread::sleep_for(step);
                    link.notify_bytes_tx(13);
                }
            });
            QElapsedTimer clock;
            clock.start();
            link.close();
            longest_ms = std::max(longest_ms, clock.elapsed());
            writer.join();
        }
        QCOMPARE_GE(longest_ms, 100);
    }

    void null_port_is_a_closed_port()
    {
        Loopback_link link;
        QCOMPARE(link.packet_length(hex("18ef59")), 8U);
        link.open(static_cast<const char*>(nullptr));
        QCOMPARE_LT(link.handle(), 0);
        QVERIFY(link.isSequential());
        QVERIFY(!link.isOpen());
    }

    void answers_are_matched_by_identifier_alone_data()
    {
        QTest::addColumn<int>("request");
        QTest::addColumn<int>("response");
        QTest::addColumn<bool>("matches");
        QTest::newRow("12 by 13") << 0x12 << 0x13 << true;
        QTest::newRow("12 by 12") << 0x12 << 0x12 << false;
        QTest::newRow("ff by 00") << 0xFF << 0x00 << false;
        QTest::newRow("fe by ff") << 0xFE << 0xFF << true;
        QTest::newRow("00 by 00") << 0x00 << 0x00 << false;
    }
    void answers_are_matched_by_identifier_alone()
    {
        QFETCH(int, request);
        QFETCH(int, response);
        Loopback_link link;
        link.send_message(static_cast<uchar>(request), 9);
        link.send_message(0x01);
        QByteArray payload(8, '\x55');
        payload[0] = static_cast<char>(response);
        link.arrive(controller_frame(payload));
        QFETCH(bool, matches);
        QCOMPARE(link.written.size(), matches ? 2 : 1);
    }

    void nothing_is_no_request_and_no_answer()
    {
        Loopback_link link;
        const QByteArray odd(1, '\x01');
        QCOMPARE(link.is_response({}, odd), false);
        QCOMPARE(link.is_response(odd, {}), false);
        QCOMPARE(link.is_response({}, {}), false);
    }
};

QTEST_GUILESS_MAIN(Power_controller_interface_test)
#include "power_controller_interface.moc"
