#include "Frame_reader.h"

class Frame_reader_test : public QObject {
    Q_OBJECT

    const QByteArray from_host_ = QByteArray::fromHex("18ef785935000000000000000d");

    static QByteArray joined(const QVector<Frame_reader::Found>& found)
    {
        QByteArray text;
        for (const Frame_reader::Found& each : found)
            text.append(each.is_frame ? "frame " : "noise ").append(each.bytes.toHex() + ";");
        return text;
    }

private Q_SLOTS:
    void frames_are_found_between_noise()
    {
        Frame_reader reader;
        const QByteArray frame = "frame " + from_host_.toHex() + ";";
        QCOMPARE(joined(reader.take("\x01\x18" + from_host_ + from_host_ + "\x02")),
                 "noise 0118;" + frame + frame + "noise 02;");
    }

    void a_frame_may_come_byte_by_byte()
    {
        Frame_reader reader;
        for (int i = 0; i < from_host_.size(); ++i)
            QCOMPARE(reader.take(from_host_.mid(i, 1)).size(), i + 1 == from_host_.size() ? 1 : 0);
    }

    void each_byte_is_found_once()
    {
        Frame_reader reader;
        const QByteArray frame = "frame " + from_host_.toHex() + ";";
        QCOMPARE(joined(reader.take("\x01" + from_host_ + "\x02" + from_host_.left(5))),
                 "noise 01;" + frame + "noise 02;");
        QCOMPARE(joined(reader.take(from_host_.mid(5))), frame);
        QCOMPARE(joined(reader.take("\x03")), QByteArray("noise 03;"));
        QCOMPARE(joined(reader.take(from_host_ + "\x18")), frame);
        QCOMPARE(joined(reader.take("\x04")), QByteArray("noise 1804;"));
    }

    void a_frame_that_begins_in_a_bad_one_is_found()
    {
        Frame_reader reader;
        QCOMPARE(joined(reader.take(from_host_.left(7) + from_host_)),
                 "noise " + from_host_.left(7).toHex() + ";frame " + from_host_.toHex() + ";");
    }

    void a_wrong_checksum_is_noise()
    {
        Frame_reader reader;
        QByteArray bad = from_host_;
        bad[12] = '\0';
        QCOMPARE(joined(reader.take(bad)), "noise " + bad.toHex() + ";");
    }
};

QTEST_GUILESS_MAIN(Frame_reader_test)
#include "frame_reader.moc"
