// Framing, on a link without a line.

#include "Packet_serial_interface.h"

#include "Captured_console.h"
#include "Controller_frame.h"
#include "Loopback_link.h"

#include <QRandomGenerator>
#include <QSignalSpy>

#include <algorithm>

class Packet_serial_interface_test : public QObject {
    Q_OBJECT

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
        QCOMPARE_EMPTY(link.written);
        QVERIFY(link.write_packet(payload, 255));
        QCOMPARE(link.written[0].size(), 260);
    }

    void received_frames_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("frames");
        QTest::addColumn<QByteArray>("text");
        const QByteArray good = controller_frame(hex("4102030405060708"));
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
        const QByteArray bytes = controller_frame(hex("4100000000000000"));
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
        link.arrive(controller_frame(hex("4102030405060708")) +
                    controller_frame(hex("42ffffffffffffff")));
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
            link.arrive(controller_frame(payload).chopped(1));
            uchar buffer[256];
            QCOMPARE(link.read_packet(buffer, sizeof buffer), 0U);
            link.arrive(controller_frame(payload).right(1) + hex("00"));
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
        const QByteArray first = controller_frame(hex("4102030405060708"));
        const QByteArray second = controller_frame(hex("42ffffffffffffff"));
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
        link.arrive(controller_frame({}));
        QCOMPARE_EMPTY(output.text());
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
        link.arrive(controller_frame(QByteArray(255, '\x07')));
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
        link.arrive(controller_frame("\x07") + controller_frame("\x07"));
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
                    bytes +=
                        controller_frame(QByteArray(8, static_cast<char>(random.bounded(256))));
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
};

QTEST_GUILESS_MAIN(Packet_serial_interface_test)
#include "packet_serial_interface.moc"
