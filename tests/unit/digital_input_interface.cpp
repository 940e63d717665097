// The digital inputs: their bit, and what they say of it.

#include "Digital_input_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

#include <QSignalSpy>

class Digital_input : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void digital_input_reads_the_bit_of_its_channel_data()
    {
        QTest::addColumn<uint>("channel");
        QTest::addColumn<QByteArray>("on");
        QTest::addColumn<QByteArray>("off");
        QTest::newRow("0") << 0U << QByteArray("01") << QByteArray("fe");
        QTest::newRow("1") << 1U << QByteArray("02") << QByteArray("fd");
        QTest::newRow("2") << 2U << QByteArray("04") << QByteArray("fb");
        QTest::newRow("3") << 3U << QByteArray("08") << QByteArray("f7");
    }
    void digital_input_reads_the_bit_of_its_channel()
    {
        QFETCH(uint, channel);
        QFETCH(QByteArray, on);
        QFETCH(QByteArray, off);
        for (const QByteArray id : {"10", "36"}) {
            auto& input = make<Digital_input_interface>(channel);
            QSignalSpy spy(&input, &Digital_input_interface::changed);
            const Captured_descriptor errors(STDERR_FILENO);
            QVERIFY(!output_of(input, &Digital_input_interface::is_on, true));
            QVERIFY(offer(input, id + on));
            QVERIFY(output_of(input, &Digital_input_interface::is_on));
            QVERIFY(offer(input, id + off));
            QVERIFY(!output_of(input, &Digital_input_interface::is_on, true));
            QCOMPARE(seen(spy), (QList<QVariantList>{{true}, {false}}));
        }
    }

    void digital_input_says_what_it_did()
    {
        auto& input = make<Digital_input_interface>(2U);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(offer(input, "3604000000000000")); // changed
        QVERIFY(offer(input, "3604000000000000")); // not, and silent
        QVERIFY(offer(input, "1004000000000000")); // not, and said
        QVERIFY(offer(input, "1000"));             // changed
        QVERIFY(offer(input, "1000"));
        QCOMPARE(errors.text(), QByteArray("Changed id=6 len=8\n"
                                           "UnChanged id=\x10 dio=2 val=1\n"
                                           "Changed id=\x10 len=2\n"
                                           "UnChanged id=\x10 dio=2 val=0\n"));
    }

    void digital_input_has_its_value_before_it_signals()
    {
        auto& input = make<Digital_input_interface>(0U);
        Captured_descriptor errors(STDERR_FILENO);
        QStringList seen_then;
        connect(&input, &Digital_input_interface::changed, this, [&](bool on) {
            QCOMPARE(output_of(input, &Digital_input_interface::is_on, !on), on);
            seen_then.append(QString::fromLatin1(errors.text()));
        });
        QVERIFY(offer(input, "3601"));
        QCOMPARE(seen_then, QStringList{QStringLiteral("Changed id=6 len=2\n")});
    }

    void digital_input_refuses_other_messages()
    {
        auto& input = make<Digital_input_interface>(0U);
        QSignalSpy spy(&input, &Digital_input_interface::changed);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(input, "06ff000000000000"));
        QVERIFY(!offer(input, "36"));
        QCOMPARE(spy.count(), 0);
        QCOMPARE(errors.text(), QByteArray("Unhandled id=6 len=8\nUnhandled id=54 len=1\n"));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Digital_input>(count, arguments, "<power/>");
}
#include "digital_input_interface.moc"
