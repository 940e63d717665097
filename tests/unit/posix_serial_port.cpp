#include "Posix_serial_port.h"

#include "Pseudo_terminal.h"

#include <QFile>
#include <QTest>

#include <optional>

class Posix_serial_port_test : public QObject {
    Q_OBJECT

    class Port : public Posix_serial_port {
    public:
        int descriptor = -1;
        int handle() override { return descriptor; }
    };

    std::optional<Pseudo_terminal> line_;
    std::unique_ptr<Port> port_;

    termios settings() const
    {
        termios current{};
        tcgetattr(port_->descriptor, &current);
        return current;
    }

private Q_SLOTS:
    void init()
    {
        line_.emplace(Pseudo_terminal::Mode::as_it_comes);
        port_ = std::make_unique<Port>();
        port_->descriptor = line_->other();
    }

    void unconfigured_port_refuses_everything()
    {
        Serial_settings all;
        QVERIFY(!port_->restore_port());
        QVERIFY(!port_->set_baud(9600));
        QCOMPARE(port_->baud(), 0U);
        QVERIFY(!port_->set_format(8, 1, 0));
        QVERIFY(!port_->get_format(all.format));
        QVERIFY(!port_->set_flow(0));
        QVERIFY(!port_->get_flow(all.flow));
        QVERIFY(!port_->set_dtr(true));
        QVERIFY(!port_->set_rts(true));
        QVERIFY(!port_->apply(all));
    }

    void closed_port_refuses_everything()
    {
        QVERIFY(port_->init_port());
        port_->descriptor = -1;
        QVERIFY(!port_->set_baud(9600));
        QVERIFY(!port_->restore_port());
        QCOMPARE(port_->baud(), 0U);
    }

    void file_that_is_no_terminal_is_not_configured()
    {
        QFile file(QStringLiteral("/dev/null"));
        QVERIFY(file.open(QIODevice::ReadWrite));
        port_->descriptor = file.handle();
        QVERIFY(!port_->init_port());
        QVERIFY(!port_->set_baud(9600));
    }

    void configure_makes_raw_and_restore_undoes()
    {
        const termios before = settings();
        QVERIFY(port_->init_port());
        const termios raw = settings();
        QCOMPARE(raw.c_lflag & (ICANON | ECHO | ISIG | IEXTEN), tcflag_t{0});
        QCOMPARE(raw.c_iflag & (IXON | ICRNL | BRKINT | ISTRIP), tcflag_t{0});
        QCOMPARE(raw.c_oflag & OPOST, tcflag_t{0});
        QCOMPARE(raw.c_cflag & CSIZE, tcflag_t{CS8});
        QCOMPARE(raw.c_cflag & (CREAD | CLOCAL | HUPCL), tcflag_t{CREAD | CLOCAL});
        QCOMPARE(int{raw.c_cc[VMIN]}, 1);
        QCOMPARE(int{raw.c_cc[VTIME]}, 0);
        QCOMPARE(cfgetospeed(&raw), cfgetospeed(&before));
        QVERIFY(port_->restore_port());
        const termios after = settings();
        QCOMPARE(after.c_lflag, before.c_lflag);
        QCOMPARE(after.c_cflag, before.c_cflag);
    }

    void baud_rates_data()
    {
        QTest::addColumn<int>("rate");
        QTest::addColumn<uint>("code");
        QTest::addColumn<uint>("read");
        const struct {
            int rate;
            speed_t code;
        } rows[] = {{300, B300},     {600, B600},       {1200, B1200},     {2400, B2400},
                    {4800, B4800},   {9600, B9600},     {19200, B19200},   {38400, B38400},
                    {57600, B57600}, {115200, B115200}, {230400, B230400}, {460800, B460800}};
        for (const auto& row : rows) {
            QTest::addRow("%d", row.rate) << row.rate << row.code << uint(row.rate);
            QTest::addRow("%d", row.rate - 1) << row.rate - 1 << row.code << uint(row.rate);
        }
        QTest::newRow("100") << 100 << uint(B300) << 300U;
        QTest::newRow("0") << 0 << uint(B300) << 300U;
        QTest::newRow("1800") << 1800 << uint(B2400) << 2400U;
        QTest::newRow("10000") << 10000 << uint(B19200) << 19200U;
        QTest::newRow("1000000") << 1000000 << uint(B460800) << 460800U;
        QTest::newRow("largest") << 2147483647 << uint(B460800) << 460800U;
    }
    void baud_rates()
    {
        QFETCH(int, rate);
        QFETCH(uint, code);
        QVERIFY(port_->init_port());
        QVERIFY(port_->set_baud(rate));
        const termios current = settings();
        QCOMPARE(uint{cfgetospeed(&current)}, code);
        QCOMPARE(uint{cfgetispeed(&current)}, code);
        QTEST(port_->baud(), "read");
    }

    void unknown_speed_reads_as_2400()
    {
        QVERIFY(port_->init_port());
        termios current = settings();
        cfsetispeed(&current, B1800);
        cfsetospeed(&current, B1800);
        QCOMPARE(tcsetattr(port_->descriptor, TCSANOW, &current), 0);
        QCOMPARE(port_->baud(), 2400U);
    }

    void data_formats_data()
    {
        QTest::addColumn<uint>("bits");
        QTest::addColumn<uint>("stops");
        QTest::addColumn<uint>("parity");
        QTest::addColumn<uint>("flags");
        QTest::newRow("8N1") << 8U << 1U << 0U << uint(CS8);
        QTest::newRow("7E2") << 7U << 2U << 2U << uint(CS7 | CSTOPB | PARENB);
        QTest::newRow("6O1") << 6U << 1U << 1U << uint(CS6 | PARENB | PARODD);
        QTest::newRow("5N2") << 5U << 2U << 0U << uint(CS5 | CSTOPB);
        QTest::newRow("9 bits mean 8") << 9U << 1U << 0U << uint(CS8);
        QTest::newRow("3 stops mean 1") << 8U << 3U << 0U << uint(CS8);
    }
    void data_formats()
    {
        QFETCH(uint, bits);
        QFETCH(uint, stops);
        QFETCH(uint, parity);
        QFETCH(uint, flags);
        QVERIFY(port_->init_port());
        // A pty forces 8 bits without parity; what was asked for shows in what is written next,
        // so only what the device accepts is compared there.
        QVERIFY(port_->set_format(bits, stops, parity));
        const tcflag_t accepted = settings().c_cflag & (CSTOPB | PARODD);
        QCOMPARE(accepted, tcflag_t{flags} & (CSTOPB | PARODD));
        Serial_settings::Format format;
        QVERIFY(port_->get_format(format));
        QCOMPARE(format.stop_bits, (flags & CSTOPB) != 0 ? 2U : 1U);
    }

    void nine_bits_give_eight()
    {
        QVERIFY(port_->init_port());
        QVERIFY(port_->set_format(9, 1, 0));
        QCOMPARE(settings().c_cflag & CSIZE, tcflag_t{CS8});
        Serial_settings::Format format;
        QVERIFY(port_->get_format(format));
        QCOMPARE(format.data_bits, 8U);
        QCOMPARE(format.stop_bits, 1U);
        QCOMPARE(format.parity, 0U);
    }

    void other_parity_keeps_odd_or_even()
    {
        QVERIFY(port_->init_port());
        QVERIFY(port_->set_format(8, 1, 1));
        QVERIFY(port_->set_format(8, 1, 7));
        QCOMPARE(settings().c_cflag & PARODD, tcflag_t{PARODD});
        QVERIFY(port_->set_format(8, 1, 2));
        QVERIFY(port_->set_format(8, 1, 7));
        QCOMPARE(settings().c_cflag & PARODD, tcflag_t{0});
    }

    void flow_control()
    {
        QVERIFY(port_->init_port());
        Serial_settings::Flow flow;
        QVERIFY(port_->set_flow(2));
        QCOMPARE(settings().c_iflag & (IXON | IXOFF), tcflag_t{IXON | IXOFF});
        QVERIFY(port_->get_flow(flow));
        QCOMPARE(flow.mode, 2U);
        port_->set_flow(1); // a pty has no RTS to raise
        QCOMPARE(settings().c_cflag & CRTSCTS, tcflag_t{CRTSCTS});
        QCOMPARE(settings().c_iflag & (IXON | IXOFF), tcflag_t{0});
        QVERIFY(port_->get_flow(flow));
        QCOMPARE(flow.mode, 1U);
        QVERIFY(port_->set_flow(0));
        QVERIFY(port_->get_flow(flow));
        QCOMPARE(flow.mode, 0U);
    }

    /// Only an unconfigured port, a closed descriptor and unreadable settings are failures.
    void modem_lines_that_are_not_there_are_no_failure()
    {
        QVERIFY(port_->init_port());
        QVERIFY(port_->set_dtr(true));
        QVERIFY(port_->set_rts(false));
        QVERIFY(port_->set_flow(1));
        port_->descriptor = -1;
        QVERIFY(!port_->set_dtr(true));
        QVERIFY(!port_->set_rts(false));
    }

    void defaults_of_the_settings()
    {
        const Serial_settings settings;
        QCOMPARE(settings.baud, 9600U);
        QCOMPARE(settings.format.data_bits, 8U);
        QCOMPARE(settings.format.stop_bits, 1U);
        QCOMPARE(settings.format.parity, 0U);
        QCOMPARE(settings.flow.mode, 1U);
        QCOMPARE(settings.flow.dtr, quint16{0});
        QCOMPARE(settings.flow.rts, quint16{0});
        QCOMPARE(settings.flow.cts, quint16{0});
        QCOMPARE(settings.flow.dsr, quint16{0});
    }

    void everything_at_once()
    {
        QVERIFY(port_->init_port());
        Serial_settings wanted;
        wanted.baud = 57000;
        wanted.format.stop_bits = 2;
        wanted.flow.mode = 2;
        QVERIFY(port_->apply(wanted)); // though a pty has no lines
        QCOMPARE(port_->baud(), 57600U);
        QCOMPARE(settings().c_cflag & CSTOPB, tcflag_t{CSTOPB});
        QCOMPARE(settings().c_iflag & IXON, tcflag_t{IXON});
    }
};

QTEST_GUILESS_MAIN(Posix_serial_port_test)
#include "posix_serial_port.moc"
