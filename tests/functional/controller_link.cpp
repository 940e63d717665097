// The line to the controller: frames both ways, garbage, the queue and its response time.

#include "Terminal.h"

#include <csignal>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

class Controller_link : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Terminal> terminal_;

    Terminal& terminal() { return *terminal_; }

    static QByteArray hex(const char* text) { return QByteArray::fromHex(text); }

    /// Sends bytes as they are; what the daemon prints of them.
    QByteArray printed_for(const QByteArray& bytes)
    {
        terminal().controller.send_bytes(bytes);
        return terminal().output();
    }

    static constexpr int response_time_ms = 300;

    /// Waits for a request, and returns when it has come, by the controller's clock; -1 when it
    /// does not come.
    qint64 time_of(const QByteArray& payload)
    {
        qint64 time = -1;
        (void)wait_for([&] {
            for (const auto& request : terminal().controller.requests()) {
                if (request.payload.startsWith(hex(payload)))
                    time = request.msecs;
            }
            return time >= 0;
        });
        return time;
    }

    void set_voltage(uint value)
    {
        terminal().call(QStringLiteral("device/operating_voltage"),
                        QStringLiteral("set_operating_voltage"), {value});
    }

private Q_SLOTS:
    void init()
    {
        if (terminal_ == nullptr) {
            terminal_ = std::make_unique<Terminal>();
            terminal_->start();
        }
        terminal_->controller.set_silent(false);
        terminal_->clear();
    }
    void cleanupTestCase() { terminal_.reset(); }

    void line_is_raw_at_115200_baud()
    {
        const int device =
            open(terminal().controller.device().toLatin1().constData(), O_RDWR | O_NOCTTY);
        termios settings{};
        QCOMPARE(tcgetattr(device, &settings), 0);
        close(device);
        QCOMPARE(cfgetispeed(&settings), speed_t{B115200});
        QCOMPARE(cfgetospeed(&settings), speed_t{B115200});
        QCOMPARE(settings.c_lflag & (ICANON | ECHO | ISIG | IEXTEN), tcflag_t{0});
        QCOMPARE(settings.c_oflag & OPOST, tcflag_t{0});
        QCOMPARE(settings.c_cflag & CSIZE, tcflag_t{CS8});
        QCOMPARE(settings.c_cflag & (CLOCAL | HUPCL), tcflag_t{CLOCAL});
        QCOMPARE(int{settings.c_cc[VMIN]}, 1);
        QCOMPARE(int{settings.c_cc[VTIME]}, 0);
    }

    void garbage_before_a_frame_is_dropped()
    {
        QCOMPARE(printed_for(hex("0018ef5978") + hex("4100000000000000") + hex("19")),
                 QByteArray("Got message 41\nUnhandled message default\n"));
    }

    void split_frame_is_delivered_with_its_last_byte()
    {
        const QByteArray frame = Fake_controller::frame(hex("41"));
        for (int at = 1; at < frame.size(); ++at) {
            terminal().controller.send_bytes(frame.left(at));
            terminal().controller.send_bytes(frame.mid(at));
        }
        QCOMPARE(terminal().output().count("Got message 41\n"), frame.size() - 1);
    }

    void frame_with_the_hosts_addresses_is_reported_and_taken()
    {
        QCOMPARE(printed_for(hex("18ef7859410000000000000019")),
                 QByteArray("Src/Dest test failed 78:59 59:78\n"
                            "Got message 41\nUnhandled message default\n"));
    }

    void wrong_addresses_are_sign_extended()
    {
        // The checksum covers the payload alone in effect: the addresses sum to the same.
        QCOMPARE(printed_for(hex("18eff0e1410000000000000019")),
                 QByteArray("Src/Dest test failed fffffff0:59 ffffffe1:78\n"
                            "Got message 41\nUnhandled message default\n"));
    }

    void wrong_checksum_is_reported_without_a_line_end()
    {
        const QByteArray bad = hex("18ef597841000000000000001a");
        QCOMPARE(printed_for(bad + Fake_controller::frame(hex("41"))),
                 QByteArray("Checksum failedGot message 41\nUnhandled message default\n"));
    }

    void frame_inside_a_bad_one_is_found()
    {
        const QByteArray inner = Fake_controller::frame(hex("41"));
        QCOMPARE(printed_for(hex("18ef5978") + inner),
                 QByteArray("Checksum failedGot message 41\nUnhandled message default\n"));
    }

    void every_frame_of_a_burst_is_delivered_in_order()
    {
        QByteArray burst;
        QByteArray expected;
        for (int i = 0; i < 2000; ++i) {
            burst += Fake_controller::frame(hex(i % 2 == 0 ? "41" : "42"));
            expected += i % 2 == 0 ? "Got message 41\nUnhandled message default\n"
                                   : "Got message 42\nUnhandled message default\n";
        }
        QCOMPARE(printed_for(burst), expected);
    }

    void only_the_first_of_three_is_written_until_it_is_answered()
    {
        terminal().controller.ignore(0x0d);
        const qint64 asked = terminal().controller.now();
        set_voltage(1);
        set_voltage(2);
        set_voltage(3);
        QCOMPARE_GE(time_of("0d02") - asked, response_time_ms);
        QCOMPARE_GE(time_of("0d03") - asked, 2 * response_time_ms);
        terminal().controller.send(hex("0e"));
    }

    /// And not the one behind it: whether the answer is that of the first or, on a machine that
    /// stood still, that of the second, the third is written 300 ms after the first at the
    /// earliest.
    void answer_lets_no_more_than_the_next_request_go()
    {
        terminal().controller.ignore(0x0d);
        const qint64 asked = terminal().controller.now();
        set_voltage(1);
        set_voltage(2);
        set_voltage(3);
        QCOMPARE_GE(time_of("0d01"), asked);
        terminal().controller.send(hex("0e"));
        QCOMPARE_GE(time_of("0d02"), asked);
        QCOMPARE_GE(time_of("0d03") - asked, response_time_ms);
        terminal().controller.send(hex("0e"));
    }

    /// Were they all given up, they would take half as long again as is waited for.
    void each_answer_lets_the_next_request_go()
    {
        terminal().controller.answer(0x0d);
        const int count = patience_ms * 3 / 2 / response_time_ms;
        for (int value = 1; value <= count; ++value)
            set_voltage(static_cast<uint>(value));
        const QByteArray last = hex("0d") + static_cast<char>(count);
        QCOMPARE_GE(time_of(last.toHex()), 0);
    }

    void unanswered_request_gives_way_after_300_ms_and_is_not_repeated()
    {
        terminal().controller.ignore(0x0d);
        const qint64 asked = terminal().controller.now();
        set_voltage(4);
        set_voltage(5);
        QCOMPARE_GE(time_of("0d05") - asked, response_time_ms);
        QCOMPARE(terminal().requests().filter(QStringLiteral("0d ")).size(), 2);
        terminal().controller.send(hex("0e"));
    }

    void unsolicited_message_leaves_the_queue_alone()
    {
        terminal().controller.ignore(0x0d);
        const qint64 asked = terminal().controller.now();
        set_voltage(6);
        set_voltage(7);
        QVERIFY(wait_for([this] { return terminal().controller.has_received("0d06"); }));
        terminal().controller.send(hex("1c01"));
        terminal().controller.send(hex("0d"));
        QVERIFY(
            wait_for([this] { return terminal().daemon.output().contains("Got message  d\n"); }));
        QCOMPARE_CONTAINS(terminal().daemon.output(), "Got message 1c\n");
        QCOMPARE_GE(time_of("0d07") - asked, response_time_ms);
        terminal().controller.send(hex("0e"));
    }

    void late_answer_completes_the_next_request_of_its_identifier()
    {
        terminal().controller.ignore(0x0d);
        set_voltage(8);
        set_voltage(9);
        set_voltage(10);
        QVERIFY(wait_for([this] { return terminal().controller.has_received("0d09"); }));
        terminal().controller.send(hex("0e08")); // the answer to the first, given up by now
        QVERIFY(wait_for([this] { return terminal().controller.has_received("0d0a"); }));
        terminal().controller.send(hex("0e"));
    }

    void next_request_is_on_its_way_before_the_answer_is_printed()
    {
        // Seen from outside as an order of effects: when the text of the answer is there, the
        // next request has been written, or will be without any further answer.
        terminal().controller.ignore(0x0d);
        set_voltage(11);
        set_voltage(12);
        terminal().controller.send(hex("0e"));
        QVERIFY(
            wait_for([this] { return terminal().daemon.output().contains("Got message  e\n"); }));
        QVERIFY(wait_for([this] { return terminal().controller.has_received("0d0c"); }));
        terminal().controller.send(hex("0e"));
    }

    void closing_with_requests_pending_sends_none_of_them()
    {
        constexpr uint requests = 100; // half a minute's
        Terminal other;
        other.start();
        other.clear();
        other.controller.set_silent(true);
        for (uint i = 1; i <= requests; ++i)
            other.call(QStringLiteral("device/operating_voltage"),
                       QStringLiteral("set_operating_voltage"), {i});
        QVERIFY(wait_for([&] { return other.controller.has_received("0d01"); }));
        other.daemon.signal(SIGTERM);
        QVERIFY(other.daemon.wait_for_end());
        const QByteArray last = hex("18ef785935000000000000000d");
        QVERIFY(wait_for([&] { return other.controller.received().endsWith(last); }));
        QVERIFY(!other.controller.has_received("0d64"));
    }

    void terminal_settings_are_restored_at_the_end()
    {
        Terminal other;
        const int device =
            open(other.controller.device().toLatin1().constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios before{};
        tcgetattr(device, &before);
        cfsetispeed(&before, B9600);
        cfsetospeed(&before, B9600);
        before.c_lflag |= ICANON;
        tcsetattr(device, TCSANOW, &before);
        other.start();
        termios during{};
        tcgetattr(device, &during);
        QCOMPARE(during.c_lflag & ICANON, tcflag_t{0});
        other.daemon.signal(SIGTERM);
        QVERIFY(other.daemon.wait_for_end());
        termios after{};
        tcgetattr(device, &after);
        close(device);
        QCOMPARE(after.c_lflag, before.c_lflag);
        QCOMPARE(cfgetospeed(&after), speed_t{B9600});
    }

    void baud_rate_is_that_of_the_option_data()
    {
        QTest::addColumn<QStringList>("rates");
        QTest::addColumn<uint>("speed");
        QTest::newRow("hexadecimal") << QStringList{QStringLiteral("0x2580")} << uint{B9600};
        QTest::newRow("lowest") << QStringList{QStringLiteral("1")} << uint{B300};
        QTest::newRow("highest") << QStringList{QStringLiteral("4294967295")} << uint{B460800};
        QTest::newRow("the last of two")
            << QStringList{QStringLiteral("300"), QStringLiteral("57600")} << uint{B57600};
    }
    void baud_rate_is_that_of_the_option()
    {
        QFETCH(const QStringList, rates);
        Terminal other;
        QStringList options;
        for (const QString& rate : rates)
            options += {QStringLiteral("--baudrate"), rate};
        other.start(options);
        const int device =
            open(other.controller.device().toLatin1().constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios settings{};
        tcgetattr(device, &settings);
        close(device);
        QTEST(uint{cfgetospeed(&settings)}, "speed");
    }
};

QTEST_GUILESS_MAIN(Controller_link)
#include "controller_link.moc"
