// Framing, queue and answers on a link without a line.

#include "Captured_console.h"
#include "Loopback_link.h"
#include "Waiting.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

class Packet_framing : public QObject {
    Q_OBJECT

    static QByteArray hex(const char* text) { return QByteArray::fromHex(text); }

    /// A frame from the controller with a payload of eight bytes, summed up by hand.
    static QByteArray frame(const QByteArray& payload)
    {
        QByteArray bytes = hex("18ef5978") + payload;
        uint sum = 0;
        for (const char byte : std::as_const(bytes))
            sum += static_cast<uchar>(byte);
        return bytes + static_cast<char>(sum & 0xFF);
    }

    /// The payloads that a link delivers of some chunks.
    static QList<QByteArray> delivered(const QList<QByteArray>& chunks)
    {
        Loopback_link link;
        QList<QByteArray> payloads;
        connect(&link, &Packet_serial_interface::handle_packet, &link,
                [&payloads](const uchar* payload, uint len) {
                    payloads.append(
                        QByteArray(reinterpret_cast<const char*>(payload), static_cast<int>(len)));
                });
        for (const QByteArray& chunk : chunks)
            link.arrive(chunk);
        return payloads;
    }

    /// The payloads that are found by looking at each place of the bytes.
    static QList<QByteArray> found_slowly(const QByteArray& bytes)
    {
        QList<QByteArray> payloads;
        for (int at = 0; at + 13 <= bytes.size();) {
            const QByteArray candidate = bytes.mid(at, 13);
            uint sum = 0xD8;
            for (int i = 4; i < 12; ++i)
                sum += static_cast<uchar>(candidate[i]);
            const bool good = candidate.startsWith(hex("18ef")) &&
                              (sum & 0xFF) == static_cast<uchar>(candidate[12]);
            if (good)
                payloads.append(candidate.mid(4, 8));
            at += good ? 13 : 1;
        }
        return payloads;
    }

    static QList<QByteArray> split(const QByteArray& bytes)
    {
        QList<QByteArray> single;
        for (const char byte : bytes)
            single.append(QByteArray(1, byte));
        return single;
    }

    /// A link whose payload length the test chooses.
    class Variable_link : public Loopback_link {
    public:
        explicit Variable_link(uint length) : length_(length) {}

        QVector<int> shown; ///< how many bytes were to tell the length, each time

        uint packet_length(const QByteArray& head) override
        {
            shown.append(static_cast<int>(head.size()));
            return length_;
        }

    private:
        uint length_;
    };

private Q_SLOTS:
    void written_frames_data()
    {
        QTest::addColumn<QByteArray>("payload");
        QTest::addColumn<QByteArray>("frame");
        QTest::newRow("01") << hex("0100000000000000") << hex("18ef78590100000000000000d9");
        QTest::newRow("zeros") << hex("0000000000000000") << hex("18ef78590000000000000000d8");
        QTest::newRow("ff ff") << hex("ffff") << hex("18ef7859ffffd6");
        QTest::newRow("empty") << QByteArray() << hex("18ef7859d8");
        QTest::newRow("35") << hex("3500000000000000") << hex("18ef785935000000000000000d");
    }
    void written_frames()
    {
        QFETCH(QByteArray, payload);
        QFETCH(QByteArray, frame);
        Loopback_link link;
        QVERIFY(link.write_packet(reinterpret_cast<const uchar*>(payload.constData()),
                                  static_cast<uint>(payload.size())));
        QCOMPARE(link.written, QVector<QByteArray>{frame});
    }

    void payload_of_256_bytes_is_refused()
    {
        Loopback_link link;
        const uchar payload[256] = {};
        QVERIFY(!link.write_packet(payload, 256));
        QVERIFY(link.written.isEmpty());
        QVERIFY(link.write_packet(payload, 255));
        QCOMPARE(link.written[0].size(), 260);
    }

    void received_frames_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("frames");
        QTest::addColumn<QByteArray>("text");
        const QByteArray good = frame(hex("4102030405060708"));
        QTest::newRow("one") << good << 1 << QByteArray();
        QTest::newRow("after a zero") << QByteArray(1, '\0') + good << 1 << QByteArray();
        QTest::newRow("after sync bytes")
            << hex("1818ef18") + good << 1
            << QByteArray("Src/Dest test failed 18:59 18:78\nChecksum failed");
        QTest::newRow("two") << good + good << 2 << QByteArray();
        QTest::newRow("wrong checksum")
            << good.left(12) + QByteArray("\xAA") + good << 1 << QByteArray("Checksum failed");
        QTest::newRow("begins inside a bad one")
            << hex("18ef5978") + good << 1 << QByteArray("Checksum failed");
        QTest::newRow("other addresses") << hex("18ef0080") + good.mid(4) + good << 2
                                         << QByteArray("Src/Dest test failed  0:59 ffffff80:78\n");
        QTest::newRow("the host's addresses") << hex("18ef7859") + good.mid(4) << 1
                                              << QByteArray("Src/Dest test failed 78:59 59:78\n");
        QTest::newRow("another source") << hex("18ef7f78") + good.mid(4) << 1
                                        << QByteArray("Src/Dest test failed 7f:59 78:78\n");
        QTest::newRow("another destination") << hex("18ef590f") + good.mid(4) << 1
                                             << QByteArray("Src/Dest test failed 59:59  f:78\n");
    }
    void received_frames()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, frames);
        QFETCH(QByteArray, text);
        const QByteArray payload = hex("4102030405060708");
        for (const QList<QByteArray>& chunks : {QList<QByteArray>{bytes}, split(bytes)}) {
            Captured_descriptor output(STDOUT_FILENO);
            const QList<QByteArray> payloads = delivered(chunks);
            QCOMPARE(payloads.size(), frames);
            for (const QByteArray& each : payloads)
                QCOMPARE(each, payload);
            // A frame whose end is not there yet is looked at again, but reported once.
            QCOMPARE(output.text(), text);
        }
    }

    void partial_frame_is_not_consumed()
    {
        Loopback_link link;
        QSignalSpy spy(&link, &Packet_serial_interface::handle_packet);
        const QByteArray bytes = frame(hex("4100000000000000"));
        link.arrive(bytes.left(12));
        QCOMPARE(spy.count(), 0);
        uchar payload[256];
        QCOMPARE(link.read_packet(payload, sizeof payload), 0U);
        link.arrive(bytes.mid(12));
        QCOMPARE(spy.count(), 1);
    }

    void surplus_payload_is_dropped_and_reported()
    {
        Loopback_link link;
        disconnect(&link, &QIODevice::readyRead, &link, &Packet_serial_interface::handle_read);
        Captured_descriptor output(STDOUT_FILENO);
        link.arrive(frame(hex("4102030405060708")) + frame(hex("42ffffffffffffff")));
        uchar payload[5] = {};
        QCOMPARE(link.read_packet(payload, 5), 8U);
        QCOMPARE(QByteArray(reinterpret_cast<char*>(payload), 5), hex("4102030405"));
        QCOMPARE(output.text(), QByteArray("User didn't supply a big enough buffer 3\n"
                                           "User didn't supply a big enough buffer 2\n"
                                           "User didn't supply a big enough buffer 1\n"));
        uchar next[256];
        QCOMPARE(link.read_packet(next, sizeof next), 8U);
        QCOMPARE(next[0], uchar{0x42});
    }

    void other_payload_lengths()
    {
        for (const uint length : {0U, 1U, 255U}) {
            Variable_link link(length);
            disconnect(&link, &QIODevice::readyRead, &link, &Packet_serial_interface::handle_read);
            const QByteArray payload(static_cast<int>(length), '\x07');
            link.arrive(frame(payload).chopped(1));
            uchar buffer[256];
            QCOMPARE(link.read_packet(buffer, sizeof buffer), 0U);
            link.arrive(frame(payload).right(1) + hex("00"));
            if (length == 0) // a frame without payload cannot be told from no frame
                continue;
            QCOMPARE(link.read_packet(buffer, sizeof buffer), length);
        }
    }

    void packets_are_read_into_256_bytes()
    {
        class Sized_link : public Loopback_link {
        public:
            uint read_packet(unsigned char* buf, uint size) override
            {
                std::fill_n(buf, 256, uchar{0}); // a smaller buffer is found by the sanitizers
                sizes.append(size);
                return 0;
            }
            QVector<uint> sizes;
        };
        Sized_link link;
        link.handle_read();
        QCOMPARE(link.sizes, QVector<uint>{256});
    }

    void head_of_a_frame_may_be_kept()
    {
        class Keeping_link : public Loopback_link {
        public:
            uint packet_length(const QByteArray& head) override
            {
                heads.append(head);
                return 8;
            }
            QVector<QByteArray> heads;
        };
        Keeping_link link;
        const QByteArray first = frame(hex("4102030405060708"));
        const QByteArray second = frame(hex("42ffffffffffffff"));
        link.arrive(first + second);
        link.arrive(QByteArray(1000, '\0'));
        QCOMPARE(link.heads, (QVector<QByteArray>{first + second, second}));
    }

    void frame_without_payload_is_taken_out_and_tells_of_nothing()
    {
        Captured_descriptor output(STDOUT_FILENO);
        Variable_link link(0);
        int delivered = 0;
        connect(&link, &Packet_serial_interface::handle_packet, &link, [&] { ++delivered; });
        link.arrive(frame({}));
        QVERIFY(output.text().isEmpty());
        link.arrive(hex("18ef5978d9")); // finds nothing before it
        QCOMPARE(output.text(), QByteArray("Checksum failed"));
        QCOMPARE(link.shown, (QVector<int>{5, 5}));
        QCOMPARE(delivered, 0);
    }

    void length_is_told_by_3_to_260_bytes()
    {
        const Captured_descriptor output(STDOUT_FILENO);
        Variable_link link(255);
        const QByteArray bytes = hex("18ef5978") + QByteArray(259, '\0');
        for (const auto& [from, to] : {std::pair{0, 2}, {2, 3}, {3, 4}, {4, 259}, {259, 263}})
            link.arrive(bytes.mid(from, to - from));
        QCOMPARE(link.shown, (QVector<int>{3, 4, 259, 260}));
    }

    void payload_of_255_bytes_is_delivered()
    {
        Variable_link link(255);
        QSignalSpy spy(&link, &Packet_serial_interface::handle_packet);
        link.arrive(frame(QByteArray(255, '\x07')));
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy[0][1].toUInt(), 255U);
    }

    void payload_of_one_byte_is_delivered()
    {
        Variable_link link(1);
        int delivered = 0;
        connect(&link, &Packet_serial_interface::handle_packet, &link,
                [&delivered](const uchar* payload, uint len) {
                    delivered += payload[0] == 7 && len == 1 ? 1 : 0;
                });
        link.arrive(frame("\x07") + frame("\x07"));
        QCOMPARE(delivered, 2);
    }

    void random_bytes_give_what_a_slow_scanner_finds()
    {
        QRandomGenerator random(7);
        for (int round = 0; round < 300; ++round) {
            QByteArray bytes;
            while (bytes.size() < 400) {
                const uint kind = random.bounded(4U);
                if (kind == 0)
                    bytes += frame(QByteArray(8, static_cast<char>(random.bounded(256))));
                else if (kind == 1)
                    bytes += hex("18ef");
                else
                    bytes += static_cast<char>(random.bounded(256));
            }
            QList<QByteArray> chunks;
            for (int at = 0; at < bytes.size();) {
                const int size = 1 + random.bounded(40);
                chunks.append(bytes.mid(at, size));
                at += size;
            }
            Captured_descriptor output(STDOUT_FILENO);
            QCOMPARE(delivered(chunks), found_slowly(bytes));
        }
    }

    void arguments_are_0_unless_given()
    {
        Loopback_link link;
        link.send_message(0x01);
        QCOMPARE(link.written, QVector<QByteArray>{hex("18ef78590100000000000000d9")});
        link.timeout();
        link.send_message(0x01, 2, 3, 4, 5, 6, 7, 8);
        QCOMPARE(link.written.value(1), hex("18ef78590102030405060708fc"));
    }

    void one_request_at_a_time()
    {
        Loopback_link link;
        link.send_message(0x0d, 1);
        link.send_message(0x0d, 2);
        link.send_message(0x31, 3);
        QCOMPARE(link.written, QVector<QByteArray>{hex("18ef78590d01000000000000e6")});
        link.arrive(frame(hex("1c00000000000000"))); // unsolicited
        QCOMPARE(link.written.size(), 1);
        link.arrive(frame(hex("0d00000000000000"))); // no answer either
        QCOMPARE(link.written.size(), 1);
        link.arrive(frame(hex("0e00000000000000")));
        QCOMPARE(link.written.size(), 2);
        link.timeout(); // given up, not repeated
        QCOMPARE(link.written.size(), 3);
        QCOMPARE(link.written[2].mid(4, 2), hex("3103"));
        link.arrive(frame(hex("0e00000000000000"))); // late: compared with the new head
        link.arrive(frame(hex("3200000000000000")));
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
        link.arrive(frame(hex("0200000000000000")));
        QCOMPARE(written_when_seen, 2);
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
        link.arrive(frame(payload));
        QFETCH(bool, matches);
        QCOMPARE(link.written.size(), matches ? 2 : 1);
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
        QVERIFY(wait_for([&link] { return link.written.size() == 2; })); // 300 ms later
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
        link.arrive(frame(hex("0200000000000000")));
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
        link.arrive(frame(hex("0200000000000000")));
        link.timeout();
        QCOMPARE(link.written.size(), 1);
    }

    void oversize_payload_holds_the_queue_until_its_time_is_over()
    {
        Loopback_link link;
        const uchar payload[256] = {};
        QVERIFY(link.send_packet(payload, 256));
        link.send_message(0x01);
        QVERIFY(link.written.isEmpty());
        link.timeout();
        QCOMPARE(link.written.size(), 1);
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
        qint64 fastest_ms = 1000;
        for (int i = 0; i < 20 && fastest_ms > 60; ++i) {
            Loopback_link link;
            QElapsedTimer clock;
            clock.start();
            link.close();
            fastest_ms = std::min(fastest_ms, clock.elapsed());
        }
        QVERIFY(fastest_ms >= 49);
        QVERIFY(fastest_ms < 90);
    }

    void unanswered_request_gives_way_after_300_ms()
    {
        qint64 fastest_ms = 10000;
        for (int i = 0; i < 20 && fastest_ms > 320; ++i) {
            Loopback_link link;
            QElapsedTimer clock;
            clock.start();
            link.send_message(0x01);
            link.send_message(0x11);
            QVERIFY(wait_for([&link] { return link.written.size() == 2; }));
            fastest_ms = std::min(fastest_ms, clock.elapsed());
        }
        QVERIFY(fastest_ms >= 299);
        QVERIFY(fastest_ms < 500);
    }

    void what_answers_nothing_gives_no_more_time()
    {
        Loopback_link link;
        QTimer unsolicited;
        connect(&unsolicited, &QTimer::timeout, &link,
                [&link] { link.arrive(frame(hex("1c00000000000000"))); });
        link.send_message(0x01);
        link.send_message(0x11);
        unsolicited.start(20);
        QVERIFY(wait_for([&link] { return link.written.size() == 2; }));
    }

    void next_request_has_its_own_300_ms()
    {
        Loopback_link link;
        QElapsedTimer clock;
        QTimer::singleShot(200, &link, [&] {
            if (link.written.size() == 1)
                clock.start();
            link.arrive(frame(hex("0200000000000000")));
        });
        link.send_message(0x01);
        link.send_message(0x11);
        link.send_message(0x15);
        QVERIFY(wait_for([&link] { return link.written.size() == 3; }));
        // On a busy machine the answer may come too late to be one.
        QVERIFY(!clock.isValid() || clock.elapsed() >= 299);
    }

    void closing_waits_as_long_as_the_writer_goes_on()
    {
        constexpr auto step = std::chrono::milliseconds(10);
        constexpr int steps = 8;
        qint64 longest_ms = 0;
        for (int i = 0; i < 20 && longest_ms < 100; ++i) {
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
        QVERIFY(longest_ms >= 100);
    }

    void null_port_is_a_closed_port()
    {
        Loopback_link link;
        QCOMPARE(link.packet_length(hex("18ef59")), 8U);
        link.open(static_cast<const char*>(nullptr));
        QVERIFY(link.handle() < 0);
        QVERIFY(link.isSequential());
        QVERIFY(!link.isOpen());
    }
};

QTEST_GUILESS_MAIN(Packet_framing)
#include "packet_framing.moc"
