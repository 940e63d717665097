// The buzzer: its volume and its sound file.

#include "Buzzer_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

#include <QFile>
#include <QSignalSpy>

#include <cmath>

class Buzzer : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void starts_silent()
    {
        Captured_descriptor output(STDOUT_FILENO);
        auto* made = new Buzzer_interface(world_.daemon, QStringLiteral("z"));
        QCOMPARE(output.text(), QByteArray("BUZ volume set to 0.000000\n"));
        QCOMPARE(output_of(*made, &Buzzer_interface::get_volume, 1.0), 0.0);
        QCOMPARE(output_of(*made, &Buzzer_interface::get_buzzer_file),
                 QStringLiteral("/etc/buzzer.wav"));
        QCOMPARE_ENDS(output.text(), "BUZ get filename /etc/buzzer.wav\n");
        QCOMPARE_EMPTY(world_.link->sent);
    }

    void volumes_data()
    {
        QTest::addColumn<double>("volume");
        QTest::addColumn<uchar>("reported");
        QTest::newRow("3.7") << 3.7 << uchar{3};
        QTest::newRow("-0.5") << -0.5 << uchar{0};
        QTest::newRow("-1.5") << -1.5 << uchar{255};
        QTest::newRow("255.9") << 255.9 << uchar{255};
        QTest::newRow("256") << 256.0 << uchar{0};
        QTest::newRow("4294967299") << 4294967299.0 << uchar{3};
        QTest::newRow("no number") << not_a_number << uchar{0};
        QTest::newRow("infinite") << infinite << uchar{0};
        QTest::newRow("minus infinite") << -infinite << uchar{0};
        QTest::newRow("huge") << huge << uchar{0};
    }
    void volumes()
    {
        QFETCH(double, volume);
        auto& made = make<Buzzer_interface>();
        QSignalSpy changed(&made, &Buzzer_interface::volume_changed);
        Captured_descriptor output(STDOUT_FILENO);
        made.set_volume(volume);
        QCOMPARE(changed.count(), 1);
        QTEST(changed[0][0].value<uchar>(), "reported");
        const double stored = output_of(made, &Buzzer_interface::get_volume);
        QVERIFY(stored == volume || (std::isnan(stored) && std::isnan(volume)));
        QCOMPARE(output.text(), QString::asprintf("BUZ volume set to %f\n", volume).toLatin1());
    }

    void volume_is_reported_before_it_is_kept_and_printed()
    {
        auto& made = make<Buzzer_interface>();
        Captured_descriptor output(STDOUT_FILENO);
        QList<double> kept;
        QList<int> lines;
        connect(&made, &Buzzer_interface::volume_changed, this, [&] {
            kept.append(output_of(made, &Buzzer_interface::get_volume));
            lines.append(static_cast<int>(output.text().count('\n')));
        });
        made.set_volume(3.5);
        made.set_volume(4.5);
        QCOMPARE(kept, (QList<double>{0.0, 3.5}));
        QCOMPARE(lines, (QList<int>{0, 1}));
    }

    void new_sound_file_reports_silence_and_the_volume_again()
    {
        auto& made = make<Buzzer_interface>();
        const auto set_up = [&made] {
            const Captured_descriptor output(STDOUT_FILENO);
            made.set_volume(3.7);
        };
        set_up();
        QSignalSpy changed(&made, &Buzzer_interface::volume_changed);
        Captured_descriptor output(STDOUT_FILENO);
        made.set_buzzer_file(QStringLiteral("/x/\u00e4.wav"));
        QCOMPARE(output.text(), QByteArray("BUZ get filename /x/\xc3\xa4.wav\n"
                                           "BUZ volume set to 0.000000\n"
                                           "BUZ volume set to 3.700000\n"));
        QCOMPARE(changed.count(), 2);
        QCOMPARE(changed[0][0].value<uchar>(), uchar{0});
        QCOMPARE(changed[1][0].value<uchar>(), uchar{3});
        QCOMPARE(output_of(made, &Buzzer_interface::get_volume), 3.7);
        QCOMPARE(output_of(made, &Buzzer_interface::get_buzzer_file),
                 QStringLiteral("/x/\u00e4.wav"));
    }

    void reported_volumes()
    {
        QCOMPARE(reported_volume(3.99), uchar{3});
        QCOMPARE(reported_volume(-0.5), uchar{0});
        QCOMPARE(reported_volume(-9223372036854775808.0), uchar{0});
        QCOMPARE(reported_volume(9223372036854775808.0), uchar{0});
        QCOMPARE(reported_volume(9223372036854774784.0), uchar{0});
        QCOMPARE(reported_volume(1023.0), uchar{255});
        QCOMPARE(reported_volume(std::nan("")), uchar{0});
    }

    void removes_its_marker_at_the_end()
    {
        const QString marker = QStringLiteral("tmp/.buzzer_on");
        world_.root.write(marker, "");
        Captured_descriptor output(STDOUT_FILENO);
        world_.daemon->handle_quit();
        QCOMPARE_STARTS(output.text(), "Quiting\n");
        QCOMPARE_CONTAINS(output.text(), "BUZ cleaning up\n");
        QVERIFY(!QFile::exists(world_.root.path(marker)));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Buzzer>(count, arguments, "<power/>");
}
#include "buzzer_interface.moc"
