// Outputs, supply voltage, brightness and buzzer: bus calls become frames, texts and state.

#include "Terminal.h"

class Outputs : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Terminal> terminal_;
    const QString backlight_ = QStringLiteral("device/display/backlight");
    const QString buzzer_ = QStringLiteral("device/buzzer");
    const QString voltage_ = QStringLiteral("device/operating_voltage");

    Terminal& terminal() { return *terminal_; }

    static QString output(int channel)
    {
        return QStringLiteral("device/io/output/digital/%1").arg(channel);
    }

    void call(const QString& path, const char* method, const QVariantList& values = {})
    {
        const QDBusMessage reply = terminal().call(path, QLatin1String(method), values);
        QVERIFY2(reply.type() == QDBusMessage::ReplyMessage, qPrintable(reply.errorMessage()));
    }

    QVariant get(const QString& path, const char* method)
    {
        return terminal().get(path, QLatin1String(method));
    }

    /// Waits for a command, in hexadecimal without the zeros at its end, and its trace.
    bool is_sent(const QByteArray& command)
    {
        return wait_for([this, &command] { return terminal().controller.has_received(command); });
    }

    static QByteArray trace(const QByteArray& label, const QByteArray& command)
    {
        QByteArray bytes = QByteArray::fromHex(command);
        bytes.append(8 - bytes.size(), '\0');
        return label + bytes.toHex(' ') + " \n";
    }

private Q_SLOTS:
    void initTestCase()
    {
        terminal_ = std::make_unique<Terminal>();
        for (const char id : {'\x33', '\x31', '\x29', '\x0d'})
            terminal_->controller.ignore(static_cast<uchar>(id));
        terminal_->start();
        // The poll goes on; its answers would print between what the tests compare.
        for (const int id : {0x05, 0x11, 0x15, 0x19, 0x1b, 0x21, 0x23, 0x27})
            terminal_->controller.ignore(static_cast<uchar>(id));
    }
    void init() { terminal_->clear(); }
    void cleanupTestCase() { terminal_.reset(); }

    void digital_output_commands_data()
    {
        QTest::addColumn<int>("channel");
        QTest::addColumn<QString>("method");
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<bool>("on");
        QTest::addColumn<bool>("enabled");
        const QList<QByteArray> off = {"330101", "330404", "331010", "334040"};
        const QList<QByteArray> on = {"330202", "330808", "332020", "338080"};
        const QList<QByteArray> disabled = {"330303", "330c0c", "333030", "33c0c0"};
        for (int i = 0; i < 4; ++i) {
            const auto row = [i](const char* method, const QByteArray& command, bool is_on,
                                 bool is_enabled) {
                QTest::addRow("%d %s", i, method)
                    << i << QString::fromLatin1(method) << command << is_on << is_enabled;
            };
            row("on", on[i], true, true);
            row("disable", disabled[i], true, false);
            row("off", disabled[i], false, false);
            row("enable", off[i], false, true);
        }
    }
    void digital_output_commands()
    {
        QFETCH(int, channel);
        QFETCH(QString, method);
        QFETCH(QByteArray, command);
        call(output(channel), method.toLatin1());
        QVERIFY(is_sent(command));
        QCOMPARE(terminal().output(), trace("DOUTRAW: ", command));
        QTEST(get(output(channel), "is_on").toBool(), "on");
        QTEST(get(output(channel), "is_enabled").toBool(), "enabled");
        terminal().controller.send("\x34");
    }

    void set_disabled_and_on_sends_3_and_enable_then_2()
    {
        call(output(0), "set", {true, false});
        QVERIFY(is_sent("330303"));
        QVERIFY(get(output(0), "is_on").toBool());
        QVERIFY(!get(output(0), "is_enabled").toBool());
        terminal().controller.send("\x34");
        call(output(0), "enable");
        QVERIFY(is_sent("330202"));
        terminal().controller.send("\x34");
        QCOMPARE_EMPTY(terminal().seen_signals());
    }

    void digital_output_reports_data()
    {
        QTest::addColumn<QByteArray>("report");
        QTest::addColumn<QList<bool>>("on");
        QTest::addColumn<QList<bool>>("enabled");
        QTest::newRow("all on") << QByteArray("3400aa") << QList<bool>{true, true, true, true}
                                << QList<bool>{true, true, true, true};
        QTest::newRow("no information")
            << QByteArray("34ff00") << QList<bool>{true, true, true, true}
            << QList<bool>{true, true, true, true};
        QTest::newRow("one each") << QByteArray("34001b") << QList<bool>{true, true, false, true}
                                  << QList<bool>{false, true, true, true};
        QTest::newRow("all off") << QByteArray("340055") << QList<bool>{false, false, false, false}
                                 << QList<bool>{true, true, true, true};
    }
    void digital_output_reports()
    {
        QFETCH(QByteArray, report);
        QFETCH(QList<bool>, on);
        QFETCH(QList<bool>, enabled);
        terminal().send(report);
        for (int i = 0; i < 4; ++i) {
            QCOMPARE(get(output(i), "is_on").toBool(), on[i]);
            QCOMPARE(get(output(i), "is_enabled").toBool(), enabled[i]);
        }
    }

    void frequency_output_sends_the_low_16_bits()
    {
        const QString path = QStringLiteral("device/io/output/frequency/0");
        call(path, "set", {0x12345U});
        QVERIFY(is_sent("29012345"));
        QCOMPARE(terminal().output(), trace("RADARREQRAW: ", "29012345"));
        terminal().controller.send("\x2a");
    }

    void operating_voltage_keeps_the_whole_value_and_sends_a_byte()
    {
        call(voltage_, "set_operating_voltage", {300U});
        QVERIFY(is_sent("0d2c"));
        QCOMPARE(terminal().output(), trace("OPVOLT SET: ", "0d2c"));
        QCOMPARE(get(voltage_, "get_operating_voltage").toUInt(), 300U);
        // Its report has no route: the queue goes on and the value stays.
        terminal().send("0e07");
        QCOMPARE(get(voltage_, "get_operating_voltage").toUInt(), 300U);
    }

    void backlight_commands_data()
    {
        QTest::addColumn<double>("brightness");
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<double>("stored");
        QTest::newRow("50") << 50.0 << QByteArray("317f") << 50.0;
        QTest::newRow("100.05") << 100.05 << QByteArray("31fe7f") << 100.05;
        QTest::newRow("101") << 101.0 << QByteArray("31fe") << 101.0;
        QTest::newRow("100") << 100.0 << QByteArray("31fe") << 100.0;
        QTest::newRow("below 0") << -1.0 << QByteArray("31") << 0.0;
        QTest::newRow("0") << 0.0 << QByteArray("31") << 0.0;
        QTest::newRow("thousandths above 100") << 10.101 << QByteArray("3119fe") << 10.101;
        QTest::newRow("infinity") << qInf() << QByteArray("31fe") << qInf();
        QTest::newRow("minus infinity") << -qInf() << QByteArray("31") << 0.0;
        QTest::newRow("huge") << 1e300 << QByteArray("31fe") << 1e300;
        QTest::newRow("no number") << qQNaN() << QByteArray("31") << qQNaN();
    }
    void backlight_commands()
    {
        QFETCH(double, brightness);
        QFETCH(QByteArray, command);
        call(backlight_, "set_brightness", {brightness});
        QVERIFY(is_sent(command));
        QCOMPARE(terminal().output(), trace("LCDBRISET: ", command));
        QTEST(get(backlight_, "get_brightness").toDouble(), "stored");
        QCOMPARE_EMPTY(terminal().seen_signals());
        terminal().controller.send("\x32");
        terminal().settle();
    }

    void backlight_reports()
    {
        terminal().send("32fe");
        QCOMPARE(get(backlight_, "get_brightness").toDouble(), 254 * 0.3937007874015748);
        QCOMPARE_ENDS(terminal().output(), "LCDBRIIN: 32 fe 00 00 00 00 00 00 : 100.000\n");
        terminal().send("3200ff");
        QCOMPARE(get(backlight_, "get_brightness").toDouble(), 0.0);
        QCOMPARE_ENDS(terminal().output(), "LCDBRIIN: 32 00 ff 00 00 00 00 00 : 0.000\n");
    }

    void multi_led_cannot_be_set()
    {
        for (const int i : {0, 19}) {
            const QString path = QStringLiteral("multi_led/%1").arg(i);
            terminal().clear();
            call(path, "set_brightness", {50.0});
            QCOMPARE(terminal().output(),
                     QByteArray("LCD not implemented src/interfaces/Dimmable_interface:25\n"));
            QCOMPARE(get(path, "get_brightness").toDouble(), 0.0);
            QCOMPARE_EMPTY(terminal().controller.payloads().filter(QStringLiteral("31 ")));
        }
    }

    void buzzer_volume_data()
    {
        QTest::addColumn<double>("volume");
        QTest::addColumn<int>("reported");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("3.7") << 3.7 << 3 << QByteArray("3.700000");
        QTest::newRow("cut to 8 bits") << 257.9 << 1 << QByteArray("257.900000");
        QTest::newRow("negative") << -1.5 << 255 << QByteArray("-1.500000");
        QTest::newRow("huge") << 1e19 << 0 << QByteArray("10000000000000000000.000000");
        QTest::newRow("infinity") << qInf() << 0 << QByteArray("inf");
        QTest::newRow("no number") << qQNaN() << 0 << QByteArray("nan");
    }
    void buzzer_volume()
    {
        QFETCH(double, volume);
        QFETCH(int, reported);
        QFETCH(QByteArray, text);
        call(buzzer_, "set_volume", {volume});
        QByteArray printed = terminal().output();
        printed.replace("-nan", "nan");
        QCOMPARE(printed, "BUZ volume set to " + text + "\n");
        QCOMPARE(terminal().seen_signals().size(), 1);
        QCOMPARE(terminal().seen_signals()[0].member, QStringLiteral("volume_changed"));
        QCOMPARE(terminal().seen_signals()[0].values[0].toInt(), reported);
    }

    void buzzer_file_is_reloaded_by_listeners()
    {
        QCOMPARE(get(buzzer_, "get_buzzer_file").toString(), QStringLiteral("/etc/buzzer.wav"));
        call(buzzer_, "set_volume", {3.7});
        terminal().clear();
        call(buzzer_, "set_buzzer_file", {QStringLiteral("/tmp/horn.wav")});
        QCOMPARE(terminal().output(), QByteArray("BUZ get filename /tmp/horn.wav\n"
                                                 "BUZ volume set to 0.000000\n"
                                                 "BUZ volume set to 3.700000\n"));
        QCOMPARE(terminal().seen_signals().size(), 2);
        QCOMPARE(terminal().seen_signals()[0].values[0].toInt(), 0);
        QCOMPARE(terminal().seen_signals()[1].values[0].toInt(), 3);
        terminal().clear();
        QCOMPARE(get(buzzer_, "get_buzzer_file").toString(), QStringLiteral("/tmp/horn.wav"));
        QCOMPARE(terminal().output(), QByteArray("BUZ get filename /tmp/horn.wav\n"));
        QCOMPARE(get(buzzer_, "get_volume").toDouble(), 3.7);
    }

    void buzzer_marker_is_removed_at_the_end()
    {
        Terminal other;
        other.root.write(QStringLiteral("tmp/.buzzer_on"), "");
        other.start();
        QCOMPARE_CONTAINS(other.daemon.output(), "BUZ volume set to 0.000000\n");
        other.daemon.signal(15);
        QVERIFY(other.daemon.wait_for_end());
        QVERIFY(!QFile::exists(other.root.path(QStringLiteral("tmp/.buzzer_on"))));
    }

    void wrong_arguments_are_refused()
    {
        const QDBusMessage reply = terminal().call(backlight_, QStringLiteral("set_brightness"),
                                                   {QStringLiteral("bright")});
        QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
        QCOMPARE_EMPTY(terminal().controller.payloads().filter(QStringLiteral("31 ")));
    }
};

QTEST_GUILESS_MAIN(Outputs)
#include "outputs.moc"
