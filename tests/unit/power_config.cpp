#include "Power_config.h"

#include "Captured_console.h"
#include "Written_config.h"

Q_DECLARE_METATYPE(Config_source)

class Power_config_test : public QObject {
    Q_OBJECT

    Written_config config_;

private Q_SLOTS:
    void values_tell_where_they_come_from_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<int>("value");
        QTest::addColumn<Config_source>("source");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("message");
        const QByteArray none;
        QTest::newRow("entry") << QByteArray("<device name='d'>off</device>") << 0
                               << Config_source::entry << 3 << QStringLiteral("off") << none;
        QTest::newRow("not understood")
            << QByteArray("\n<device name='d'>Off</device>") << 1 << Config_source::unrecognised
            << 4 << QStringLiteral("Off") << QByteArray("NOT FOUND Text: Off\n");
        QTest::newRow("empty") << QByteArray("<device name='d'/>") << 1
                               << Config_source::unrecognised << 3 << QString()
                               << QByteArray("NOT FOUND Text: \n");
        QTest::newRow("missing") << QByteArray("<device name='e'>off</device>") << 1
                                 << Config_source::no_entry << 0 << QString()
                                 << QByteArray("NOT FOUND Text: \n");
    }
    void values_tell_where_they_come_from()
    {
        QFETCH(QByteArray, entry);
        const auto document =
            config_.power("<power>\n<state name=\"low-power\">\n" + entry + "</state></power>");
        const Config_value value =
            read_device_power(document.get(), state_low_power, QStringLiteral("d"));
        QTEST(value.value, "value");
        QTEST(value.source, "source");
        QTEST(value.line, "line");
        QTEST(value.text, "text");
        QTEST(value.message, "message");
    }

    void values_without_a_file()
    {
        const auto check = [](const Config_value& value, int expected) {
            QCOMPARE(value.value, expected);
            QCOMPARE(value.source, Config_source::no_file);
        };
        check(read_device_power(nullptr, state_on, QStringLiteral("system")), 0);
        check(read_state_timeout(nullptr, state_on), -1);
        check(read_state_timeout(nullptr, state_low_power), 100);
    }

    void device_power_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<bool>("with_default_on");
        QTest::addColumn<bool>("with_default_off");
        QTest::addColumn<QByteArray>("printed");
        const QByteArray none;
        const auto device = [](const char* text) {
            return QByteArray("<device name=\"d\">") + text + "</device>";
        };
        QTest::newRow("on") << device("on") << true << true << none;
        QTest::newRow("off") << device("off") << false << false << none;
        QTest::newRow("leading blank")
            << device(" on") << true << false << QByteArray("NOT FOUND Text:  on\n");
        QTest::newRow("case") << device("ON") << true << false
                              << QByteArray("NOT FOUND Text: ON\n");
        QTest::newRow("empty") << device("") << true << false << QByteArray("NOT FOUND Text: \n");
        QTest::newRow("missing") << QByteArray() << true << false
                                 << QByteArray("NOT FOUND Text: \n");
        QTest::newRow("first counts") << device("off") + device("on") << false << false << none;
        const QByteArray empty_text("NOT FOUND Text: \n");
        QTest::newRow("trailing blank")
            << device("off ") << true << false << QByteArray("NOT FOUND Text: off \n");
        QTest::newRow("case of off")
            << device("Off") << true << false << QByteArray("NOT FOUND Text: Off\n");
        QTest::newRow("case of the element")
            << QByteArray("<Device name=\"d\">off</Device>") << true << false << empty_text;
        QTest::newRow("case of the attribute")
            << QByteArray("<device Name=\"d\">off</device>") << true << false << empty_text;
        QTest::newRow("case of the name")
            << QByteArray("<device name=\"D\">off</device>") << true << false << empty_text;
        QTest::newRow("another parameter")
            << QByteArray("<param name=\"d\">off</param>") << true << false << empty_text;
        QTest::newRow("other elements and attributes")
            << QByteArray("<note name=\"d\">off</note><device name=\"e\">off</device>"
                          "<device since=\"2\" name=\"d\" kind=\"x\">on</device>")
            << true << true << none;
    }
    void device_power()
    {
        QFETCH(QByteArray, entry);
        QFETCH(QByteArray, printed);
        const auto document =
            config_.power("<power><state name=\"sleep\">" + entry + "</state></power>");
        Captured_descriptor output(STDOUT_FILENO);
        QTEST(get_device_power(document.get(), state_sleep, "d", true), "with_default_on");
        QTEST(get_device_power(document.get(), state_sleep, "d", false), "with_default_off");
        QCOMPARE(output.text(), printed + printed);
    }

    void state_timeouts_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("timeout");
        QTest::addColumn<QByteArray>("printed");
        const QByteArray none;
        QTest::newRow("100") << QByteArray("100") << 100 << none;
        QTest::newRow("100s") << QByteArray("100s") << 100 << none;
        QTest::newRow("blanks and sign") << QByteArray(" \n +7") << 7 << none;
        QTest::newRow("0") << QByteArray("0") << 0 << none;
        QTest::newRow("-5") << QByteArray("-5") << -5 << none;
        QTest::newRow("word") << QByteArray("abc") << 42 << QByteArray("NOT FOUND Text: abc\n");
        QTest::newRow("empty") << QByteArray() << 42 << QByteArray("NOT FOUND Text: \n");
    }
    void state_timeouts()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, printed);
        const auto document =
            config_.power("<power><state name=\"low-power\"><param name=\"timeout\">" + text +
                          "</param></state></power>");
        Captured_descriptor output(STDOUT_FILENO);
        QTEST(get_state_timeout(document.get(), state_low_power, 42), "timeout");
        QCOMPARE(output.text(), printed);
    }

    void each_state_has_its_own_entries()
    {
        const auto document =
            config_.power("<power><state name=\"on\"><param name=\"timeout\">11</param>"
                          "<device name=\"a\">off</device></state>"
                          "<state name=\"low-power\"><param name=\"timeout\">12</param>"
                          "<device name=\"b\">off</device></state>"
                          "<state name=\"sleep\"><param name=\"timeout\">13</param>"
                          "<device name=\"c\">off</device></state></power>");
        constexpr const char* devices[] = {"a", "b", "c"}; // by the state in which one is off
        for (int state = 0; state < 3; ++state) {
            QCOMPARE(get_state_timeout(document.get(), state, 42), 11 + state);
            for (int device = 0; device < 3; ++device)
                QCOMPARE(get_device_power(document.get(), state, devices[device], true),
                         device != state);
        }
    }

    void other_states_give_the_default_silently()
    {
        const auto document = config_.power("<power/>");
        Captured_descriptor output(STDOUT_FILENO);
        for (const int state : {-1, 3, 1000}) {
            QCOMPARE(get_state_timeout(document.get(), state, 9), 9);
            QVERIFY(get_device_power(document.get(), state, "d", true));
            QVERIFY(!get_device_power(document.get(), state, "d", false));
        }
        QCOMPARE_EMPTY(output.text());
    }
};

QTEST_GUILESS_MAIN(Power_config_test)
#include "power_config.moc"
