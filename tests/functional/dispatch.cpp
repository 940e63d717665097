// Every message of the controller reaches its objects, in order, as far as they take it.

#include "Terminal.h"

class Dispatch : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Terminal> terminal_;

    Terminal& terminal() { return *terminal_; }

private Q_SLOTS:
    void initTestCase()
    {
        terminal_ = std::make_unique<Terminal>();
        terminal_->controller.set_silent(true); // no answer but what the tests send
        terminal_->start();
        // What start-up has asked for is given up one by one, 300 ms each: none of it matters.
    }
    void init() { terminal_->clear(); }
    void cleanupTestCase() { terminal_.reset(); }

    void message_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QByteArray>("errors");

        const QByteArray din("DINRAW: ");
        QTest::newRow("02 is accepted and ignored")
            << QByteArray("02") << QByteArray("Got message  2\n") << QByteArray();
        QTest::newRow("06 ends at the first digital input")
            << QByteArray("0601020304050607")
            << QByteArray("Got message  6\nPower Res\nDINRAW: 06 01 02 03 04 05 06 07 \n"
                          "Unknown message 06\n")
            << QByteArray("Unhandled id=6 len=8\n");
        QTest::newRow("10 goes to four digital inputs")
            << QByteArray("1000000000000000f0")
            << QByteArray("Got message 10\nDINRAW: 10 00 00 00 00 00 00 00 \n")
            << QByteArray("UnChanged id=\x10 dio=0 val=0\nUnChanged id=\x10 dio=1 val=0\n"
                          "UnChanged id=\x10 dio=2 val=0\nUnChanged id=\x10 dio=3 val=0\n");
        QTest::newRow("12 hardware version")
            << QByteArray("1214") << QByteArray("Got message 12\n") << QByteArray();
        QTest::newRow("16 firmware version")
            << QByteArray("1600070102") << QByteArray("Got message 16\nGot version\n")
            << QByteArray();
        QTest::newRow("1a unique identifier")
            << QByteArray("1a001fa0ff010203")
            << QByteArray("Got message 1a\nGot unique ID: 001FA0FF010203\n") << QByteArray();
        QTest::newRow("1c power button")
            << QByteArray("1c00") << QByteArray("Got message 1c\n") << QByteArray();
        QTest::newRow("1e analog input")
            << QByteArray("1e0bb8") << QByteArray("Got message 1e\nARAW: 1E0BB80000000000: 3.000\n")
            << QByteArray("Updated val=3 Changed\n");
        QTest::newRow("20 ambient light")
            << QByteArray("2009c4") << QByteArray("Got message 20\nLRAW: 2009C40000000000: 2.500\n")
            << QByteArray("Updated val=50.0501 Changed\n");
        QTest::newRow("22 voltages 0 to 2")
            << QByteArray("22000a00140028") << QByteArray("Got message 22\n")
            << QByteArray("Updated val=0.01 Changed\nUpdated val=0.02 Changed\n"
                          "Updated val=0.04 Changed\n");
        QTest::newRow("24 voltages 3 to 5")
            << QByteArray("24000a00140028") << QByteArray("Got message 24\n")
            << QByteArray("Updated val=0.01 Changed\nUpdated val=0.02 Changed\n"
                          "Updated val=0.04 Changed\n");
        QTest::newRow("28 temperatures 0 to 5")
            << QByteArray("28f60102030405") << QByteArray("Got message 28\n")
            << QByteArray("Updated val=-10 !Changed\nUpdated val=1 Changed\n"
                          "Updated val=2 Changed\nUpdated val=3 Changed\n"
                          "Updated val=4 Changed\nUpdated val=5 Changed\n");
        QTest::newRow("2a frequency output")
            << QByteArray("2a") << QByteArray("Got message 2a\n") << QByteArray();
        QTest::newRow("2e configuration")
            << QByteArray("2e00040f") << QByteArray("Got message 2e\n") << QByteArray();
        QTest::newRow("32 display backlight")
            << QByteArray("32fe0102030405060708")
            << QByteArray("Got message 32\nLCDGOT\nLCDBRIIN: 32 fe 01 02 03 04 05 06 : 100.000\n")
            << QByteArray();
        QTest::newRow("34 digital outputs")
            << QByteArray("3400aa") << QByteArray("Got message 34\nGot Dout\n") << QByteArray();
        QTest::newRow("36 digest, light before analog before frequency")
            << QByteArray("3600000a138700ff")
            << QByteArray("Got message 36\nGot Digest: 36  0  0  a 13 87  0 ff \n")
            << QByteArray("Updated val=100 !Changed\nUpdated val=0.01 !Changed\n"
                          "Updated val=255 Changed\n");
        QTest::newRow("3e OEM profile")
            << QByteArray("3e07") << QByteArray("Got message 3e\n") << QByteArray();
        QTest::newRow("40 ATX") << QByteArray("40") << QByteArray("Got message 40\n")
                                << QByteArray();
        for (const char* id : {"00", "01", "03", "05", "0b", "0c", "0d", "0e", "0f", "11",
                               "29", "2d", "31", "33", "35", "3d", "3f", "41", "fe", "ff"}) {
            QByteArray spelled = id;
            if (spelled[0] == '0')
                spelled[0] = ' ';
            QTest::newRow(("no route for " + QByteArray(id)).constData())
                << QByteArray(id)
                << QByteArray("Got message " + spelled + "\nUnhandled message default\n")
                << QByteArray();
        }
    }
    void message()
    {
        QFETCH(QByteArray, message);
        QFETCH(QByteArray, output);
        QFETCH(QByteArray, errors);
        terminal().controller.send(QByteArray::fromHex(message.left(16)));
        QCOMPARE(terminal().output(), output);
        QCOMPARE(terminal().errors(), errors);
    }

    void power_response_tells_the_ignition_first()
    {
        terminal().send("0603000000");
        const Terminal::Signal ignition = {
            QStringLiteral("power/ignition"), QStringLiteral("changed"), {false}};
        QCOMPARE_CONTAINS(terminal().seen_signals(), ignition);
        QCOMPARE(
            terminal().get(QStringLiteral("power/ignition"), QStringLiteral("get_mode")).toInt(),
            3);
        // The digital inputs do not read this message.
        QVERIFY(!terminal()
                     .get(QStringLiteral("device/io/input/digital/0"), QStringLiteral("is_on"))
                     .toBool());
    }

    void digest_updates_every_input_at_once()
    {
        terminal().send("360f0bb809c40032");
        for (int i = 0; i < 4; ++i) {
            const QString path = QStringLiteral("device/io/input/digital/%1").arg(i);
            QVERIFY(terminal().get(path, QStringLiteral("is_on")).toBool());
            const Terminal::Signal changed = {path, QStringLiteral("changed"), {true}};
            QCOMPARE_CONTAINS(terminal().seen_signals(), changed);
        }
        const auto value = [this](const char* path) {
            return terminal().get(QLatin1String(path), QStringLiteral("get_value")).toDouble();
        };
        QCOMPARE(value("device/io/input/analog/0"), 3.0);
        QCOMPARE(value("device/io/input/frequency/0"), 50.0);
        QCOMPARE(value("device/io/input/ambientlight/0"), 2500 * 0.001 * 100 / 4.995);
        terminal().send("36");
    }

    void voltages_go_to_their_own_three()
    {
        terminal().send("22000a00140028");
        terminal().send("24006400c80190");
        const QList<double> expected = {0.01, 0.02, 0.04, 0.1, 0.2, 0.4};
        for (int i = 0; i < 6; ++i) {
            const QString path = QStringLiteral("device/io/input/voltage/%1").arg(i);
            QCOMPARE(terminal().get(path, QStringLiteral("get_value")).toDouble(), expected[i]);
        }
    }
};

QTEST_GUILESS_MAIN(Dispatch)
#include "dispatch.moc"
