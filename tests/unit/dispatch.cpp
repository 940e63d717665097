// The dispatch, against objects that keep what they are offered.

#include "Dispatch.h"

#include "Captured_console.h"
#include "Interface_base.h"
#include "Test_daemon.h"

namespace {

/// What the objects were offered, by number, and which of them refuses.
QList<int> offered;
int refusing = -1;

/// The message that they have to be offered, as it is.
const uchar* dispatched = nullptr;
uint dispatched_length = 0;

class Recording_object : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.test")
public:
    Recording_object(DBus_daemon* daemon, int number)
        : Interface_base(daemon, QStringLiteral("test"), nullptr), number_(number)
    {
    }

    bool handle_message(const uchar* data, uint len) override
    {
        if (data != dispatched || len != dispatched_length)
            qFatal("another message");
        offered.append(number_);
        return number_ != refusing;
    }

private:
    int number_;
};

} // namespace

class Dispatch_test : public QObject {
    Q_OBJECT
public:
    explicit Dispatch_test(Test_daemon& world) : world_(world) {}

private:
    Test_daemon& world_;
    Device_objects objects_;

    QByteArray dispatch_hex(const QByteArray& hex)
    {
        const QByteArray bytes = QByteArray::fromHex(hex);
        Captured_descriptor output(STDOUT_FILENO);
        offered.clear();
        dispatched = reinterpret_cast<const uchar*>(bytes.constData());
        dispatched_length = static_cast<uint>(bytes.size());
        dispatch(objects_, dispatched, dispatched_length);
        return output.text();
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (std::size_t i = 0; i < device_object_count; ++i)
            objects_[static_cast<Device_object>(i)] =
                new Recording_object(world_.daemon, static_cast<int>(i));
    }

    void routes_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QList<int>>("chain");
        // By the number of the object in the order of creation, from 0.
        const QHash<int, QList<int>> chains = {
            {0x02, {}},
            {0x06, {51, 0, 1, 2, 3}},
            {0x10, {0, 1, 2, 3}},
            {0x12, {69}},
            {0x16, {64}},
            {0x1a, {66}},
            {0x1c, {53}},
            {0x1e, {4}},
            {0x20, {23}},
            {0x22, {6, 7, 8}},
            {0x24, {9, 10, 11}},
            {0x28, {12, 13, 14, 15, 16, 17}},
            {0x2a, {18}},
            {0x2e, {71}},
            {0x32, {27}},
            {0x34, {19, 20, 21, 22}},
            {0x36, {0, 1, 2, 3, 23, 4, 5}},
            {0x3e, {72}},
            {0x40, {73}},
        };
        for (int id = 0; id < 256; ++id)
            QTest::addRow("%02x", static_cast<uint>(id)) << id << chains.value(id, {-1});
    }
    void routes()
    {
        QFETCH(int, id);
        QFETCH(QList<int>, chain);
        refusing = -1;
        const QByteArray text =
            dispatch_hex(QByteArray::number(id, 16).rightJustified(2, '0') + "00000000000000");
        const QByteArray got =
            QString::asprintf("Got message %2x\n", static_cast<uint>(id)).toLatin1();
        QVERIFY(text.startsWith(got));
        if (chain == QList<int>{-1}) {
            QCOMPARE(text, got + "Unhandled message default\n");
            QVERIFY(offered.isEmpty());
            return;
        }
        QCOMPARE(offered, chain);
        QVERIFY(!text.contains("Unknown") && !text.contains("Unhandled"));
        // Every object of the chain in turn refuses, or is missing.
        const int first = id == 0x06 ? 1 : 0;
        for (int at = first; at < chain.size(); ++at) {
            const QByteArray unknown =
                QString::asprintf("Unknown message %02x\n", static_cast<uint>(id)).toLatin1();
            refusing = chain[at];
            QVERIFY(dispatch_hex(QByteArray::number(id, 16).rightJustified(2, '0') + "0000000000")
                        .endsWith(unknown));
            QCOMPARE(offered, chain.mid(0, at + 1));
            refusing = -1;
            Interface_base*& object = objects_[static_cast<Device_object>(chain[at])];
            Interface_base* const kept = object;
            object = nullptr;
            QVERIFY(dispatch_hex(QByteArray::number(id, 16).rightJustified(2, '0') + "0000000000")
                        .endsWith(unknown));
            QCOMPARE(offered, chain.mid(0, at));
            object = kept;
        }
    }

    void absent_or_refusing_ignition_changes_nothing_else()
    {
        const QByteArray expected = "Got message  6\nPower Res\nDINRAW: 06 01 \n";
        refusing = 51;
        QCOMPARE(dispatch_hex("0601"), expected);
        QCOMPARE(offered, (QList<int>{51, 0, 1, 2, 3}));
        refusing = -1;
        Interface_base*& ignition = objects_[Device_object::ignition];
        Interface_base* const kept = ignition;
        ignition = nullptr;
        QCOMPARE(dispatch_hex("0601"), expected);
        QCOMPARE(offered, (QList<int>{0, 1, 2, 3}));
        ignition = kept;
    }

    void short_messages_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("told");
        QTest::newRow("34 of 2") << QByteArray("3400")
                                 << QByteArray("Got message 34\nUnknown message 34\n") << 0;
        QTest::newRow("34 of 3") << QByteArray("340000") << QByteArray("Got message 34\nGot Dout\n")
                                 << 4;
        QTest::newRow("36 of 5") << QByteArray("3600000000")
                                 << QByteArray("Got message 36\nUnknown message 36\n") << 0;
        QTest::newRow("36 of 6") << QByteArray("360a00000000")
                                 << QByteArray("Got message 36\nGot Digest: 36  a  0  0  0  0 \n")
                                 << 7;
        QTest::newRow("10 of 1") << QByteArray("10") << QByteArray("Got message 10\nDINRAW: 10 \n")
                                 << 4;
        QTest::newRow("06 of 1") << QByteArray("06")
                                 << QByteArray("Got message  6\nPower Res\nDINRAW: 06 \n") << 5;
        QTest::newRow("empty") << QByteArray() << QByteArray("Unhandled message default\n") << 0;
    }
    void short_messages()
    {
        QFETCH(QByteArray, message);
        QTEST(dispatch_hex(message), "text");
        QTEST(int(offered.size()), "told");
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Dispatch_test>(count, arguments, "<power/>");
}
#include "dispatch.moc"
