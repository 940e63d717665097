#include "Frame.h"

#include <QTest>

class Frame_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void the_constants_are_those_of_the_line()
    {
        QCOMPARE(Frame::sync_1, uchar{0x18});
        QCOMPARE(Frame::sync_2, uchar{0xEF});
        QCOMPARE(Frame::host_address, uchar{0x78});
        QCOMPARE(Frame::controller_address, uchar{0x59});
        QCOMPARE(Frame::checksum_start, uchar{0xD8});
        QCOMPARE(message_size, 8);
        QCOMPARE(Frame::size, 13);
        QCOMPARE(Frame::max_payload, 255);
        QCOMPARE(Frame::max_size, 260);
    }

    void frames_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<bool>("from_host");
        QTest::addColumn<QByteArray>("frame");
        QTest::newRow("last word of a host")
            << QByteArray("3500000000000000") << true << QByteArray("18ef785935000000000000000d");
        QTest::newRow("start-up") << QByteArray("0100000000000000") << true
                                  << QByteArray("18ef78590100000000000000d9");
        QTest::newRow("answer of a controller")
            << QByteArray("1214000000000000") << false << QByteArray("18ef59781214000000000000fe");
    }
    void frames()
    {
        QFETCH(QByteArray, message);
        QFETCH(bool, from_host);
        const QByteArray bytes = QByteArray::fromHex(message);
        Message content{};
        std::copy(bytes.begin(), bytes.end(), content.begin());
        const QByteArray frame =
            from_host ? Frame::build(content, Frame::host_address, Frame::controller_address)
                      : Frame::build(content);
        QTEST(frame.toHex(), "frame");
        QVERIFY(Frame::is_whole(frame));
        QCOMPARE(Frame::message_of(frame), content);
        QCOMPARE(Frame::has_addresses(frame, Frame::host_address, Frame::controller_address),
                 from_host);
    }

    void two_bytes_are_a_sync_pair_or_none()
    {
        QVERIFY(Frame::has_sync(QByteArray::fromHex("18ef")));
        QVERIFY(Frame::has_sync(QByteArray::fromHex("18ef59")));
        for (const char* other : {"", "18", "ef18", "19ef", "18ee"})
            QVERIFY2(!Frame::has_sync(QByteArray::fromHex(other)), other);
    }

    void checksums_data()
    {
        QTest::addColumn<QByteArray>("payload");
        QTest::addColumn<int>("checksum");
        QTest::newRow("empty") << QByteArray() << 0xD8;
        QTest::newRow("zeros") << QByteArray("0000000000000000") << 0xD8;
        QTest::newRow("carry") << QByteArray("ffff") << 0xD6;
        QTest::newRow("digest request") << QByteArray("3502000000000000") << 0x0F;
    }
    void checksums()
    {
        QFETCH(QByteArray, payload);
        const QByteArray bytes = QByteArray::fromHex(payload);
        QTEST(int{Frame::checksum(reinterpret_cast<const uchar*>(bytes.constData()),
                                  static_cast<uint>(bytes.size()))},
              "checksum");
    }

    void what_is_no_whole_frame_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("too short") << QByteArray("18ef597812140000000000fe");
        QTest::newRow("too long") << QByteArray("18ef59781214000000000000fefe");
        QTest::newRow("first sync byte") << QByteArray("19ef59781214000000000000fe");
        QTest::newRow("second sync byte") << QByteArray("18ee59781214000000000000fe");
        QTest::newRow("checksum") << QByteArray("18ef59781214000000000000ff");
    }
    void what_is_no_whole_frame()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!Frame::is_whole(QByteArray::fromHex(bytes)));
    }

    void wrong_addresses_leave_a_frame_whole()
    {
        const QByteArray frame = QByteArray::fromHex("18ef01021214000000000000fe");
        QVERIFY(Frame::is_whole(frame));
        QVERIFY(!Frame::has_addresses(frame, Frame::controller_address, Frame::host_address));
    }

    void the_longest_payload_is_framed()
    {
        const QByteArray payload(Frame::max_payload, '\x01');
        uchar frame[Frame::max_size];
        const uint length =
            Frame::build(frame, reinterpret_cast<const uchar*>(payload.constData()),
                         Frame::max_payload, Frame::host_address, Frame::controller_address);
        QCOMPARE(length, 260U);
        QCOMPARE(frame[259], uchar{0xD7});
        QVERIFY(Frame::has_right_checksum(frame, Frame::max_payload));
    }
};

QTEST_GUILESS_MAIN(Frame_test)
#include "frame.moc"
