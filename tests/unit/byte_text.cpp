#include "Byte_text.h"

class Byte_text_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void styles_data()
    {
        QTest::addColumn<int>("style");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("lower spaced")
            << int(Byte_style::lower_spaced) << QByteArray("00 0f 10 ff ");
        QTest::newRow("lower joined") << int(Byte_style::lower_joined) << QByteArray("000f10ff");
        QTest::newRow("padded spaced")
            << int(Byte_style::padded_spaced) << QByteArray(" 0  f 10 ff ");
        QTest::newRow("padded joined") << int(Byte_style::padded_joined) << QByteArray(" 0 f10ff");
        QTest::newRow("upper joined") << int(Byte_style::upper_joined) << QByteArray("000F10FF");
    }
    void styles()
    {
        QFETCH(int, style);
        QFETCH(QByteArray, text);
        const uchar data[] = {0x00, 0x0f, 0x10, 0xff};
        const Byte_text bytes(static_cast<Byte_style>(style), data, sizeof data);
        QCOMPARE(QByteArray(bytes.view().data(), int(bytes.view().size())), text);
    }

    void every_byte_is_spelled_as_the_c_library_does_data()
    {
        QTest::addColumn<int>("style");
        QTest::addColumn<QByteArray>("format");
        QTest::newRow("lower spaced") << int(Byte_style::lower_spaced) << QByteArray("%02x ");
        QTest::newRow("lower joined") << int(Byte_style::lower_joined) << QByteArray("%02x");
        QTest::newRow("padded spaced") << int(Byte_style::padded_spaced) << QByteArray("%2x ");
        QTest::newRow("padded joined") << int(Byte_style::padded_joined) << QByteArray("%2x");
        QTest::newRow("upper joined") << int(Byte_style::upper_joined) << QByteArray("%02X");
    }
    void every_byte_is_spelled_as_the_c_library_does()
    {
        QFETCH(int, style);
        QFETCH(QByteArray, format);
        for (int byte = 0; byte < 256; ++byte) {
            const auto data = static_cast<uchar>(byte);
            const Byte_text bytes(static_cast<Byte_style>(style), &data, 1);
            QCOMPARE(QByteArray(bytes.view().data(), int(bytes.view().size())),
                     QByteArray(QString::asprintf(format.constData(), byte).toLatin1()));
        }
    }
};

QTEST_GUILESS_MAIN(Byte_text_test)
#include "byte_text.moc"
