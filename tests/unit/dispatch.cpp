// The dispatch, against objects that keep what they are offered.

#include "Dispatch.h"

#include "Captured_console.h"
#include "Expected_objects.h"
#include "Interface_base.h"
#include "Test_daemon.h"

namespace {

/// Who was offered the message, by path, and which object refuses.
QStringList offered;
QString refusing;

/// The message that they have to be offered, as it is.
const uchar* dispatched = nullptr;
uint dispatched_length = 0;

class Recording_object : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.test")
public:
    Recording_object(DBus_daemon* daemon, QString path)
        : Interface_base(daemon, QStringLiteral("test"), nullptr), path_(std::move(path))
    {
    }

    bool handle_message(const uchar* data, uint len) override
    {
        if (data != dispatched || len != dispatched_length)
            qFatal("another message");
        offered.append(path_);
        return path_ != refusing;
    }

private:
    QString path_;
};

/// Objects below the inputs or outputs, from one channel to another.
QStringList channels(const char* path, int first, int last)
{
    QStringList paths;
    for (int channel = first; channel <= last; ++channel)
        paths.append(QString::fromLatin1(path) + QString::number(channel));
    return paths;
}

QStringList one(const char* path)
{
    return {QString::fromLatin1(path)};
}

} // namespace

static_assert(std::size(expected_objects) == device_object_count,
              "tests/fixtures/Expected_objects.h has to list every object");

class Dispatch_test : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private:
    Device_objects objects_;

    Interface_base*& object_at(const QString& path)
    {
        return objects_[static_cast<Device_object>(number_of(path.toLatin1().constData()))];
    }

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
                new Recording_object(world_.daemon, QString::fromLatin1(expected_objects[i].path));
    }

    void routes_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<bool>("known");
        QTest::addColumn<QStringList>("chain");
        const QStringList inputs = channels("device/io/input/digital/", 0, 3);
        const QHash<int, QStringList> chains = {
            {0x02, {}},
            {0x06, one("power/ignition") + inputs},
            {0x10, inputs},
            {0x12, one("version/hardware")},
            {0x16, one("version/bootloader")},
            {0x1a, one("version/unique_device_id")},
            {0x1c, one("power/button")},
            {0x1e, one("device/io/input/analog/0")},
            {0x20, one("device/io/input/ambientlight/0")},
            {0x22, channels("device/io/input/voltage/", 0, 2)},
            {0x24, channels("device/io/input/voltage/", 3, 5)},
            {0x28, channels("device/io/input/temperature/", 0, 5)},
            {0x2a, one("device/io/output/frequency/0")},
            {0x2e, one("configuration")},
            {0x32, one("device/display/backlight")},
            {0x34, channels("device/io/output/digital/", 0, 3)},
            {0x36, inputs + one("device/io/input/ambientlight/0") +
                       one("device/io/input/analog/0") + one("device/io/input/frequency/0")},
            {0x3e, one("oem_profile")},
            {0x40, one("atx")},
        };
        for (int id = 0; id < 256; ++id)
            QTest::addRow("%02x", static_cast<uint>(id))
                << id << chains.contains(id) << chains.value(id);
    }
    void routes()
    {
        QFETCH(int, id);
        QFETCH(bool, known);
        QFETCH(QStringList, chain);
        refusing.clear();
        const QByteArray text =
            dispatch_hex(QByteArray::number(id, 16).rightJustified(2, '0') + "00000000000000");
        const QByteArray got =
            QString::asprintf("Got message %2x\n", static_cast<uint>(id)).toLatin1();
        QCOMPARE(offered, chain);
        if (!known) {
            QCOMPARE(text, got + "Unhandled message default\n");
            return;
        }
        QCOMPARE(text.left(got.size()), got);
        QVERIFY2(!text.contains("Unknown") && !text.contains("Unhandled"), text);
        // Every object of the chain in turn refuses, or is missing.
        const int first = id == 0x06 ? 1 : 0;
        for (int at = first; at < chain.size(); ++at) {
            const QByteArray unknown =
                QString::asprintf("Unknown message %02x\n", static_cast<uint>(id)).toLatin1();
            refusing = chain[at];
            QCOMPARE(dispatch_hex(QByteArray::number(id, 16).rightJustified(2, '0') + "0000000000")
                         .right(unknown.size()),
                     unknown);
            QCOMPARE(offered, chain.mid(0, at + 1));
            refusing.clear();
            Interface_base*& object = object_at(chain[at]);
            Interface_base* const kept = object;
            object = nullptr;
            QCOMPARE(dispatch_hex(QByteArray::number(id, 16).rightJustified(2, '0') + "0000000000")
                         .right(unknown.size()),
                     unknown);
            QCOMPARE(offered, chain.mid(0, at));
            object = kept;
        }
    }

    void absent_or_refusing_ignition_changes_nothing_else()
    {
        const QByteArray expected = "Got message  6\nPower Res\nDINRAW: 06 01 \n";
        const QStringList inputs = channels("device/io/input/digital/", 0, 3);
        refusing = QStringLiteral("power/ignition");
        QCOMPARE(dispatch_hex("0601"), expected);
        QCOMPARE(offered, one("power/ignition") + inputs);
        refusing.clear();
        Interface_base*& ignition = objects_[Device_object::ignition];
        Interface_base* const kept = ignition;
        ignition = nullptr;
        QCOMPARE(dispatch_hex("0601"), expected);
        QCOMPARE(offered, inputs);
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
