// The port on a device that takes every format and has modem lines, which no pty has: the terminal
// interface of the C library is replaced by one that keeps what it is told.

#include "Posix_serial_port.h"

#include <QTest>
#include <QVector>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <iterator>
#include <tuple>

#include <sys/ioctl.h>
#include <termios.h>

namespace {

struct Device {
    termios settings{};
    bool hides_settings = false;
    bool refuses_settings = false;
    int lines = 0;
    bool has_lines = true;
    bool refuses_lines = false;
    QVector<int> lines_set; ///< each time, all of them
};

constexpr int device_descriptor = 0; // as good as any
Device device;

int failed(int reason)
{
    errno = reason;
    return -1;
}

} // namespace

extern "C" int tcgetattr(int descriptor, termios* settings) noexcept
{
    if (descriptor != device_descriptor)
        return failed(EBADF);
    if (device.hides_settings)
        return failed(EIO);
    *settings = device.settings;
    return 0;
}

extern "C" int tcsetattr(int descriptor, int when, const termios* settings) noexcept
{
    if (descriptor != device_descriptor)
        return failed(EBADF);
    if (device.refuses_settings || when != TCSANOW)
        return failed(EINVAL);
    device.settings = *settings;
    return 0;
}

/// As its manual page says, which leaves VMIN and VTIME alone.
extern "C" void cfmakeraw(termios* settings) noexcept
{
    settings->c_iflag &=
        ~tcflag_t{IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON};
    settings->c_oflag &= ~tcflag_t{OPOST};
    settings->c_lflag &= ~tcflag_t{ECHO | ECHONL | ICANON | ISIG | IEXTEN};
    settings->c_cflag = (settings->c_cflag & ~tcflag_t{CSIZE | PARENB}) | CS8;
}

extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    auto* lines = va_arg(arguments, int*);
    va_end(arguments);
    if (descriptor != device_descriptor || !device.has_lines)
        return failed(ENOTTY);
    if (request == TIOCMGET) {
        *lines = device.lines;
        return 0;
    }
    if (request != TIOCMSET || device.refuses_lines)
        return failed(EINVAL);
    device.lines = *lines;
    device.lines_set.append(*lines);
    return 0;
}

class Serial_device : public QObject {
    Q_OBJECT

    class Port : public Posix_serial_port {
    public:
        int handle() override { return device_descriptor; }
    };

    std::unique_ptr<Port> port_;

    static tcflag_t format()
    {
        return device.settings.c_cflag & (CSIZE | CSTOPB | PARENB | PARODD);
    }

    static bool has_settings(const termios& wanted)
    {
        const auto flags_and_speeds = [](const termios& settings) {
            return std::make_tuple(settings.c_iflag, settings.c_oflag, settings.c_cflag,
                                   settings.c_lflag, cfgetispeed(&settings),
                                   cfgetospeed(&settings));
        };
        return flags_and_speeds(device.settings) == flags_and_speeds(wanted) &&
               std::equal(std::begin(wanted.c_cc), std::end(wanted.c_cc),
                          std::begin(device.settings.c_cc));
    }

    /// The flow control that the device does.
    struct Flow_flags {
        bool hardware;
        bool on;
        bool off;

        bool operator==(const Flow_flags& other) const
        {
            return hardware == other.hardware && on == other.on && off == other.off;
        }
    };
    static Flow_flags flow_flags()
    {
        return {(device.settings.c_cflag & CRTSCTS) != 0, (device.settings.c_iflag & IXON) != 0,
                (device.settings.c_iflag & IXOFF) != 0};
    }
    static void set_flow_flags(const Flow_flags& flags)
    {
        device.settings.c_cflag = flags.hardware ? CRTSCTS : 0;
        device.settings.c_iflag = (flags.on ? IXON : 0) | (flags.off ? IXOFF : 0);
    }

private Q_SLOTS:
    void init()
    {
        device = Device();
        port_ = std::make_unique<Port>();
        QVERIFY(port_->init_port());
    }

    void configuring_changes_what_it_has_to_and_nothing_else()
    {
        termios found{};
        found.c_iflag = found.c_oflag = found.c_lflag = ~tcflag_t{0};
        found.c_cflag = CS5 | CSTOPB | PARENB | PARODD | HUPCL | CRTSCTS;
        std::fill(std::begin(found.c_cc), std::end(found.c_cc), cc_t{9});
        cfsetispeed(&found, B9600);
        cfsetospeed(&found, B9600);
        device.settings = found;
        Port port;
        QVERIFY(port.init_port());

        termios wanted = found;
        cfmakeraw(&wanted);
        wanted.c_cflag = (wanted.c_cflag | CREAD | CLOCAL) & ~tcflag_t{HUPCL};
        wanted.c_cc[VMIN] = 1;
        wanted.c_cc[VTIME] = 0;
        QVERIFY(has_settings(wanted));
        QVERIFY(port.set_baud(115200) && port.set_format(7, 2, 0) && port.set_flow(2));
        QVERIFY(port.restore_port());
        QVERIFY(has_settings(found));
    }

    void settings_that_cannot_be_read()
    {
        device.hides_settings = true;
        Serial_settings all;
        QCOMPARE(port_->baud(), 0U);
        QVERIFY(!port_->get_format(all.format));
        QVERIFY(!port_->get_flow(all.flow));
        QVERIFY(!Port().init_port());
        QVERIFY(port_->set_baud(9600)); // they are written all the same
        device.hides_settings = false;
        QCOMPARE(port_->baud(), 9600U);
    }

    void both_speeds_are_set()
    {
        QVERIFY(port_->set_baud(19200));
        QCOMPARE(device.settings.c_ispeed, speed_t{B19200});
        QCOMPARE(device.settings.c_ospeed, speed_t{B19200});
    }

    void negative_rate_is_the_lowest()
    {
        QVERIFY(port_->set_baud(-115200));
        QCOMPARE(port_->baud(), 300U);
    }

    void formats_data()
    {
        QTest::addColumn<uint>("bits");
        QTest::addColumn<uint>("stops");
        QTest::addColumn<uint>("parity");
        QTest::addColumn<uint>("flags");
        QTest::newRow("5N1") << 5U << 1U << 0U << uint(CS5);
        QTest::newRow("6N1") << 6U << 1U << 0U << uint(CS6);
        QTest::newRow("7N1") << 7U << 1U << 0U << uint(CS7);
        QTest::newRow("8N1") << 8U << 1U << 0U << uint(CS8);
        QTest::newRow("7E2") << 7U << 2U << 2U << uint(CS7 | CSTOPB | PARENB);
        QTest::newRow("6O1") << 6U << 1U << 1U << uint(CS6 | PARENB | PARODD);
    }
    void formats()
    {
        QFETCH(uint, bits);
        QFETCH(uint, stops);
        QFETCH(uint, parity);
        QFETCH(uint, flags);
        QVERIFY(port_->set_format(bits, stops, parity));
        QCOMPARE(format(), tcflag_t{flags});
        Serial_settings::Format read = {1, 7, 7};
        QVERIFY(port_->get_format(read));
        QCOMPARE(read.data_bits, bits);
        QCOMPARE(read.stop_bits, stops);
        QCOMPARE(read.parity, parity);
    }

    void other_formats()
    {
        QVERIFY(port_->set_format(6, 2, 1));
        QVERIFY(port_->set_format(9, 3, 7));
        QCOMPARE(format(), tcflag_t{CS8 | PARENB | PARODD});
        QVERIFY(port_->set_format(4, 0, 2));
        QCOMPARE(format(), tcflag_t{CS8 | PARENB});
    }

    void no_parity_is_neither_odd_nor_even()
    {
        QVERIFY(port_->set_format(8, 1, 1));
        QVERIFY(port_->set_format(8, 1, 0));
        QCOMPARE(format(), tcflag_t{CS8 | PARODD}); // which says nothing by itself
        Serial_settings::Format read = {1, 7, 7};
        QVERIFY(port_->get_format(read));
        QCOMPARE(read.parity, 0U);
    }

    void refused_settings()
    {
        device.refuses_settings = true;
        QVERIFY(port_->set_baud(9600));
        QVERIFY(port_->set_format(7, 1, 0));
        QVERIFY(port_->set_flow(0));
        QVERIFY(port_->apply(Serial_settings()));
        QVERIFY(!port_->restore_port());
        Port other;
        QVERIFY(!other.init_port());
        device.refuses_settings = false;
        QVERIFY(!other.set_baud(9600)); // was not configured
    }

    void each_line_is_read()
    {
        const auto lines = [this](int high) {
            device.lines = high;
            Serial_settings::Flow flow;
            flow.dtr = flow.rts = flow.cts = flow.dsr = 9;
            return port_->get_flow(flow) ? QVector<int>{flow.dtr, flow.rts, flow.cts, flow.dsr}
                                         : QVector<int>();
        };
        QCOMPARE(lines(TIOCM_DTR), (QVector<int>{1, 0, 0, 0}));
        QCOMPARE(lines(TIOCM_RTS), (QVector<int>{0, 1, 0, 0}));
        QCOMPARE(lines(TIOCM_CTS), (QVector<int>{0, 0, 1, 0}));
        QCOMPARE(lines(TIOCM_DSR), (QVector<int>{0, 0, 0, 1}));
        QCOMPARE(lines(TIOCM_CAR | TIOCM_RNG), (QVector<int>{0, 0, 0, 0}));
        device.has_lines = false;
        QCOMPARE(lines(TIOCM_DTR), (QVector<int>{0, 0, 0, 0}));
    }

    void one_line_is_set_and_the_others_stay()
    {
        device.lines = TIOCM_DSR | TIOCM_RTS;
        QVERIFY(port_->set_dtr(true));
        QVERIFY(port_->set_dtr(true)); // is already
        QVERIFY(port_->set_rts(false));
        QVERIFY(port_->set_dtr(false));
        QVERIFY(port_->set_rts(true));
        QCOMPARE(device.lines_set,
                 (QVector<int>{TIOCM_DSR | TIOCM_RTS | TIOCM_DTR, TIOCM_DSR | TIOCM_DTR, TIOCM_DSR,
                               TIOCM_DSR | TIOCM_RTS}));
    }

    void lines_that_cannot_be_set()
    {
        device.refuses_lines = true;
        QVERIFY(port_->set_dtr(true));
        QVERIFY(port_->set_dtr(false)); // is already
        QCOMPARE(device.lines, 0);
        device.has_lines = false;
        QVERIFY(port_->set_rts(true));
        QVERIFY(port_->set_rts(false));
        QCOMPARE_EMPTY(device.lines_set);
    }

    void hardware_flow_control_raises_rts()
    {
        for (const int mode : {0, 2, 3})
            QVERIFY(port_->set_flow(mode));
        QCOMPARE_EMPTY(device.lines_set);
        QVERIFY(port_->set_flow(1));
        QCOMPARE(device.lines_set, QVector<int>{TIOCM_RTS});
    }

    void flow_control_takes_the_place_of_another_data()
    {
        QTest::addColumn<uint>("before");
        QTest::addColumn<uint>("mode");
        QTest::addColumn<bool>("hardware");
        QTest::addColumn<bool>("software");
        for (const uint before : {0U, 1U, 2U}) {
            QTest::addRow("none behind %u", before) << before << 0U << false << false;
            QTest::addRow("hardware behind %u", before) << before << 1U << true << false;
            QTest::addRow("software behind %u", before) << before << 2U << false << true;
            QTest::addRow("unknown behind %u", before) << before << 3U << false << false;
        }
    }
    void flow_control_takes_the_place_of_another()
    {
        QFETCH(const uint, before);
        QFETCH(const uint, mode);
        QFETCH(const bool, hardware);
        QFETCH(const bool, software);
        const Flow_flags wanted = {hardware, software, software};
        QVERIFY(port_->set_flow(int(before)) && port_->set_flow(int(mode)));
        QVERIFY(flow_flags() == wanted);
        Serial_settings all;
        all.flow.mode = before;
        QVERIFY(port_->apply(all));
        all.flow.mode = mode;
        QVERIFY(port_->apply(all));
        QVERIFY(flow_flags() == wanted);
    }

    void flow_control_is_read_data()
    {
        QTest::addColumn<bool>("hardware");
        QTest::addColumn<bool>("on");
        QTest::addColumn<bool>("off");
        QTest::addColumn<uint>("mode");
        QTest::newRow("none") << false << false << false << 0U;
        QTest::newRow("hardware") << true << false << false << 1U;
        QTest::newRow("all") << true << true << true << 1U;
        QTest::newRow("software") << false << true << true << 2U;
        QTest::newRow("output only") << false << true << false << 2U;
        QTest::newRow("input only") << false << false << true << 2U;
    }
    void flow_control_is_read()
    {
        QFETCH(const bool, hardware);
        QFETCH(const bool, on);
        QFETCH(const bool, off);
        set_flow_flags({hardware, on, off});
        Serial_settings::Flow flow;
        flow.mode = 9;
        QVERIFY(port_->get_flow(flow));
        QTEST(flow.mode, "mode");
    }

    void settings_begin_as_9600_8n1_with_hardware_flow_control()
    {
        const Serial_settings settings;
        QCOMPARE(settings.baud, 9600U);
        QCOMPARE(settings.format.data_bits, 8U);
        QCOMPARE(settings.format.stop_bits, 1U);
        QCOMPARE(settings.format.parity, 0U);
        QCOMPARE(settings.flow.mode, 1U);
        QCOMPARE(settings.flow.dtr + settings.flow.rts + settings.flow.cts + settings.flow.dsr, 0);
    }

    void everything_at_once()
    {
        Serial_settings all;
        all.baud = 10000;
        all.format = {7, 2, 1};
        all.flow.mode = 1;
        all.flow.dtr = 1;
        QVERIFY(port_->apply(all));
        QCOMPARE(port_->baud(), 19200U);
        QCOMPARE(format(), tcflag_t{CS7 | CSTOPB | PARENB | PARODD});
        QCOMPARE(device.lines, TIOCM_RTS); // the record does not count then
    }

    void both_lines_are_set_at_once()
    {
        device.lines = TIOCM_RTS;
        Serial_settings all;
        all.flow.mode = 0;
        const auto lines_set_by = [&](quint16 dtr, quint16 rts) {
            device.lines_set.clear();
            all.flow.dtr = dtr;
            all.flow.rts = rts;
            return port_->apply(all) ? device.lines_set : QVector<int>{-1};
        };
        QCOMPARE(lines_set_by(1, 0), QVector<int>{TIOCM_DTR});
        QCOMPARE(lines_set_by(1, 0), QVector<int>()); // are already
        QCOMPARE(lines_set_by(0, 1), QVector<int>{TIOCM_RTS});
        QCOMPARE(lines_set_by(0, 0), QVector<int>{0});
        QCOMPARE(lines_set_by(2, 9), QVector<int>{TIOCM_DTR | TIOCM_RTS});
    }
};

QTEST_GUILESS_MAIN(Serial_device)
#include "posix_serial_port_device.moc"
