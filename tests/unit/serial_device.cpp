// The port on a device that takes every format and has modem lines, which no pty has: the terminal
// interface of the C library is replaced by one that keeps what it is told.

#include "Posix_serial_port.h"

#include <QTest>
#include <QVector>

#include <cerrno>
#include <cstdarg>

#include <sys/ioctl.h>
#include <termios.h>

namespace {

struct Device {
    termios settings{};
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
    *settings = device.settings;
    return 0;
}

extern "C" int tcsetattr(int descriptor, int /*when*/, const termios* settings) noexcept
{
    if (descriptor != device_descriptor)
        return failed(EBADF);
    if (device.refuses_settings)
        return failed(EINVAL);
    device.settings = *settings;
    return 0;
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

private Q_SLOTS:
    void init()
    {
        device = Device();
        port_ = std::make_unique<Port>();
        QVERIFY(port_->init_port());
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

    void refused_settings()
    {
        device.refuses_settings = true;
        QVERIFY(port_->set_baud(9600));
        QVERIFY(port_->set_format(7, 1, 0));
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
        QVERIFY(!port_->set_dtr(true));
        QVERIFY(port_->set_dtr(false)); // is already
        device.has_lines = false;
        QVERIFY(!port_->set_rts(false));
    }

    void hardware_flow_control_raises_rts()
    {
        for (const int mode : {0, 2, 3})
            QVERIFY(port_->set_flow(mode));
        QVERIFY(device.lines_set.isEmpty());
        QVERIFY(port_->set_flow(1));
        QCOMPARE(device.lines_set, QVector<int>{TIOCM_RTS});
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
        all.format = {7, 2, 1};
        all.flow.mode = 1;
        all.flow.dtr = 1;
        QVERIFY(port_->apply(all));
        QCOMPARE(format(), tcflag_t{CS7 | CSTOPB | PARENB | PARODD});
        QCOMPARE(device.lines, TIOCM_RTS); // the record does not count then
        all.flow.mode = 0;
        const struct {
            quint16 dtr;
            quint16 rts;
            int lines;
        } rows[] = {{1, 0, TIOCM_DTR}, {0, 1, TIOCM_RTS}, {0, 0, 0}, {2, 9, TIOCM_DTR | TIOCM_RTS}};
        for (const auto& row : rows) {
            all.flow.dtr = row.dtr;
            all.flow.rts = row.rts;
            QVERIFY(port_->apply(all));
            QCOMPARE(device.lines, row.lines);
        }
    }
};

QTEST_APPLESS_MAIN(Serial_device)
#include "serial_device.moc"
