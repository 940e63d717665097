#include "OEM_profile.h"

#include "Written_config.h"

class OEM_profile_test : public QObject {
    Q_OBJECT

    Written_config config_;

private Q_SLOTS:
    void values_without_a_file_and_without_an_entry()
    {
        const auto check = [](const Config_value& value, int expected) {
            QCOMPARE(value.value, expected);
            QCOMPARE(value.source, Config_source::no_file);
        };
        check(read_profile_entry(nullptr, oem_code_row), 255);
        check(read_profile_entry(nullptr, power_up_time_row), 255);
        const auto empty = config_.profile("<profile/>");
        QCOMPARE(read_profile_entry(empty.get(), oem_code_row).value, 255);
        QCOMPARE(read_profile_entry(empty.get(), power_up_time_row).value, 15);
    }

    void profile_numbers_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("time");
        QTest::newRow("both")
            << QByteArray("<profile><code>3</code>"
                          "<RemoteSwitchPowerUpTime>20</RemoteSwitchPowerUpTime></profile>")
            << 3 << 20;
        QTest::newRow("256") << QByteArray("<profile><code>256</code></profile>") << 0 << 15;
        QTest::newRow("300") << QByteArray("<profile><code>300</code></profile>") << 44 << 15;
        QTest::newRow("blanks, trailing")
            << QByteArray("<profile><code>\n 12 units</code></profile>") << 12 << 15;
        QTest::newRow("negative") << QByteArray("<profile><code>-1</code></profile>") << 255 << 15;
        QTest::newRow("words")
            << QByteArray("<profile><code>x</code>"
                          "<RemoteSwitchPowerUpTime>y</RemoteSwitchPowerUpTime></profile>")
            << 255 << 15;
        QTest::newRow("other case") << QByteArray("<profile><Code>3</Code></profile>") << 255 << 15;
        QTest::newRow("not a child")
            << QByteArray("<profile><a><code>3</code></a></profile>") << 255 << 15;
        QTest::newRow("first counts")
            << QByteArray("<profile><code>5</code><code>6</code></profile>") << 5 << 15;
        QTest::newRow("the same of the time")
            << QByteArray("<profile><a><RemoteSwitchPowerUpTime>7</RemoteSwitchPowerUpTime></a>"
                          "<RemoteSwitchPowerUpTime> 300s</RemoteSwitchPowerUpTime>"
                          "<RemoteSwitchPowerUpTime>8</RemoteSwitchPowerUpTime></profile>")
            << 255 << 44;
    }
    void profile_numbers()
    {
        QFETCH(QByteArray, content);
        const auto document = config_.profile(content);
        QVERIFY(document != nullptr);
        QTEST(int{get_oem_code(document.get(), 255)}, "code");
        QTEST(int{get_remote_switch_power_up_time(document.get(), 15)}, "time");
    }

    void no_profile_gives_the_defaults()
    {
        QCOMPARE(get_oem_code(nullptr, 7), uchar{7});
        QCOMPARE(get_remote_switch_power_up_time(nullptr, 8), uchar{8});
    }
};

QTEST_GUILESS_MAIN(OEM_profile_test)
#include "oem_profile.moc"
