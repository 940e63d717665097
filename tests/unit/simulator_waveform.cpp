#include "Simulator_waveform.h"

#include <QTest>

#include <cmath>

class Simulator_waveform_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void ticks_spelled_by_hand_data()
    {
        QTest::addColumn<uint>("tick");
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("1") << 1U << QByteArray("36007f8001800000");
        QTest::newRow("8") << 8U << QByteArray("3601888008800000");
        QTest::newRow("127") << 127U << QByteArray("3603f6807f800000");
        QTest::newRow("128") << 128U << QByteArray("3604f6807f800000");
        QTest::newRow("255") << 255U << QByteArray("3607c48000800000");
        QTest::newRow("256") << 256U << QByteArray("3600c38000800000");
        QTest::newRow("1024") << 1024U << QByteArray("3608228000800000");
    }
    void ticks_spelled_by_hand()
    {
        QFETCH(uint, tick);
        QFETCH(QByteArray, message);
        const Message digest = simulated_digest(tick);
        QCOMPARE(QByteArray(reinterpret_cast<const char*>(digest.data()), 8).toHex(), message);
    }

    void every_tick_up_to_2048()
    {
        for (uint t = 1; t <= 2048; ++t) {
            const Message digest = simulated_digest(t);
            QCOMPARE(digest[0], uchar{0x36});
            QCOMPARE((digest[1] & 1) != 0, t / 8 % 2 == 1);
            QCOMPARE((digest[1] & 2) != 0, t / 16 % 2 == 1);
            QCOMPARE((digest[1] & 4) != 0, t / 128 % 2 == 1);
            QCOMPARE((digest[1] & 8) != 0, t / 1024 % 2 == 1);
            QCOMPARE(digest[1] & 0xF0, 0);
            QCOMPARE(int{digest[2]}, static_cast<int>(126 + 126 * std::sin(t / 100.0)));
            const uint phase = t % 256;
            QCOMPARE(uint{digest[4]}, phase < 128 ? phase : 255 - phase);
            QCOMPARE(digest[3], uchar{128});
            QCOMPARE(digest[5], uchar{128});
            QCOMPARE(digest[6], uchar{0});
            QCOMPARE(digest[7], uchar{0});
        }
    }

    void outputs_data()
    {
        QTest::addColumn<int>("before");
        QTest::addColumn<int>("fields");
        QTest::addColumn<int>("report");
        QTest::newRow("all off") << 0xAA << 0x55 << 0x55;
        QTest::newRow("all on") << 0x55 << 0xAA << 0xAA;
        QTest::newRow("0 keeps") << 0xAA << 0x00 << 0xAA;
        QTest::newRow("3 keeps") << 0x9A << 0xFF << 0x9A;
        QTest::newRow("one each") << 0x55 << 0x02 << 0x56;
    }
    void outputs()
    {
        QFETCH(int, before);
        QFETCH(int, fields);
        const auto states = switched_outputs({}, static_cast<uchar>(before));
        QTEST(int{output_report(switched_outputs(states, static_cast<uchar>(fields)))}, "report");
    }
};

QTEST_GUILESS_MAIN(Simulator_waveform_test)
#include "simulator_waveform.moc"
