#include "Codes.h"

class Codes_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void codes_are_those_of_the_line()
    {
        QCOMPARE(int(Output_code::no_information), 0);
        QCOMPARE(int(Output_code::off), 1);
        QCOMPARE(int(Output_code::on), 2);
        QCOMPARE(int(Output_code::disabled), 3);
        QCOMPARE(int(Configuration_access::write), 0xAA);
        QCOMPARE(int(Configuration_access::read), 0x55);
        QCOMPARE(int(Power_setting::start_up), 0xFF);
        QCOMPARE(int(Power_setting::line_15), 2);
        QCOMPARE(int{remote_line_15_mode}, 2);
        QCOMPARE(int{line_15_setting_end}, 5);
        QCOMPARE(int{power_up_delay_offset}, 4);
        QCOMPARE(int{display_backlight_device}, 0xFE);
        QCOMPARE(int{full_level}, 254);
        QCOMPARE(int{query_level}, 0xFF);
        QCOMPARE(full_light_volts, 4.995);
        QVERIFY(input_bit(0x04, 2) && !input_bit(0x04, 1));
        QCOMPARE(output_code(0x1B, 0), Output_code::disabled);
        QCOMPARE(output_code(0x1B, 1), Output_code::on);
        QCOMPARE(output_code(0x1B, 2), Output_code::off);
        QCOMPARE(output_code(0x1B, 3), Output_code::no_information);
        QCOMPARE(output_bits(Output_code::on, 3), uchar{0x80});
    }
};

QTEST_GUILESS_MAIN(Codes_test)
#include "codes.moc"
