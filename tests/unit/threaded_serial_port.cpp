// The port on a real pty. A started port lives until the process ends, so none is deleted here.

#include "Threaded_serial_port.h"

#include "Power_controller_interface.h"
#include "Pseudo_terminal.h"
#include "Waiting.h"

#include <QFile>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

class Threaded_serial_port_test : public QObject {
    Q_OBJECT

    /// A line that lives as long as the port on it: one that has hung up keeps a processor busy.
    static const Pseudo_terminal& new_line()
    {
        return *new Pseudo_terminal(Pseudo_terminal::Mode::as_it_comes);
    }

    /// What comes out of the other end of a line.
    static QByteArray read_from(const Pseudo_terminal& line, int size)
    {
        QByteArray bytes;
        while (bytes.size() < size) {
            pollfd waited = {line.own(), POLLIN, 0};
            char part[256];
            const ssize_t count =
                poll(&waited, 1, patience_ms) > 0 ? ::read(line.own(), part, sizeof part) : 0;
            if (count <= 0)
                break;
            bytes.append(part, static_cast<int>(count));
        }
        return bytes;
    }

    /// Sends all of it to the port on the line, whose reader makes room.
    static void send(const Pseudo_terminal& line, const QByteArray& bytes)
    {
        for (int sent = 0; sent < bytes.size();) {
            pollfd waited = {line.own(), POLLOUT, 0};
            if (poll(&waited, 1, patience_ms) <= 0)
                qFatal("the line takes no bytes");
            const ssize_t count = ::write(line.own(), bytes.constData() + sent,
                                          static_cast<std::size_t>(bytes.size() - sent));
            sent += static_cast<int>(std::max(count, ssize_t{0}));
        }
    }

    /// A device with room for 64 KiB at once: a named pipe, whose bytes the port reads.
    class Fifo {
    public:
        Fifo() : end_(directory_.filePath(QStringLiteral("fifo"))), name(end_.fileName().toUtf8())
        {
            if (mkfifo(name.constData(), 0600) != 0 ||
                !end_.open(QIODevice::ReadWrite | QIODevice::Unbuffered))
                qFatal("no named pipe");
        }
        void write(const QByteArray& bytes)
        {
            if (end_.write(bytes) != bytes.size())
                qFatal("the pipe takes no bytes");
        }

    private:
        QTemporaryDir directory_;
        QFile end_;

    public:
        const QByteArray name;
    };

    /// Waits without turning the event loop until so much has arrived.
    static bool arrived(const Threaded_serial_port& port, qint64 size)
    {
        const QDeadlineTimer deadline(patience_ms);
        while (port.bytesAvailable() < size && !deadline.hasExpired())
            std::this_thread::yield();
        return port.bytesAvailable() == size;
    }

    /// A frame from the controller; 13 bytes.
    static QByteArray frame(char first)
    {
        QByteArray bytes = QByteArray::fromHex("18ef5978") + first + QByteArray(7, '\0');
        bytes.append(char(0xD8 + first));
        return bytes;
    }

    static QByteArray packet(Packet_serial_interface& link, uint size = 256)
    {
        uchar payload[256];
        const uint length = link.read_packet(payload, size);
        return QByteArray(reinterpret_cast<const char*>(payload), int(length));
    }

    static QByteArray device_of(const Pseudo_terminal& line)
    {
        return QFile::encodeName(line.device());
    }

    static Threaded_serial_port* open_port(const Pseudo_terminal& line)
    {
        auto* port = new Threaded_serial_port;
        port->open(device_of(line));
        return port;
    }

private Q_SLOTS:
    void missing_device_leaves_it_closed()
    {
        Threaded_serial_port port;
        port.open("/nonexistent/device");
        QCOMPARE_LT(port.handle(), 0);
        QVERIFY(!port.isOpen());
        port.open("/nonexistent"); // a second try is allowed
        QCOMPARE_LT(port.handle(), 0);
        port.close();
    }

    /// The first test that opens a port: the threads of one open descriptors of their own when they
    /// start, and could get the number that is free here.
    void descriptor_0_is_as_good_as_any()
    {
        const Pseudo_terminal& line = new_line();
        const Pseudo_terminal& other = new_line();
        auto* port = new Threaded_serial_port;
        ::close(STDIN_FILENO);
        port->open(device_of(line));
        QCOMPARE(port->handle(), STDIN_FILENO);
        QVERIFY(port->isOpen());
        port->write("x");
        QCOMPARE(read_from(line, 1), QByteArray("x"));
        port->open(device_of(other)); // is open
        QCOMPARE(port->handle(), STDIN_FILENO);
        port->close();
        QCOMPARE(fcntl(STDIN_FILENO, F_GETFL) & O_ACCMODE, O_RDONLY); // the pipe
    }

#if DOV_SPARE_DESCRIPTORS == 0
    /// The next file would get its bytes otherwise.
    void no_descriptor_is_left_for_a_pipe_in_its_place()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = open_port(line);
        port->write("x"); // and the threads have what they want
        QCOMPARE(read_from(line, 1), QByteArray("x"));
        send(line, "x\n");
        QVERIFY(arrived(*port, 2));
        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        rlimit before = {};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &before), 0);
        const rlimit none = {0, before.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &none), 0);
        port->close();
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &before), 0);
        const int flags = fcntl(port->handle(), F_GETFD);
        QCOMPARE(dup2(ends[0], port->handle()), port->handle()); // the reader reads on there
        QCOMPARE(flags, -1);
    }
#endif

    void device_that_was_missing_can_be_opened_later()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = new Threaded_serial_port;
        port->open("/nonexistent/device");
        port->open(device_of(line));
        QCOMPARE_GE(port->handle(), 0);
        port->write("x");
        QCOMPARE(read_from(line, 1), QByteArray("x"));
        QSignalSpy spy(port, &QIODevice::readyRead);
        send(line, "y");
        WAIT_UNTIL(spy.count(), >, 0);
        QCOMPARE(port->readAll(), QByteArray("y"));
    }

    void empty_device_reads_nothing_at_once()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = open_port(line);
        QVERIFY(port->isOpen());
        QVERIFY(port->isSequential());
        char byte = 0;
        QCOMPARE(port->read(&byte, 1), qint64{0});
    }

    void second_open_does_nothing()
    {
        const Pseudo_terminal& line = new_line();
        const Pseudo_terminal& other = new_line();
        auto* port = open_port(line);
        const int descriptor = port->handle();
        port->open(device_of(other));
        QCOMPARE(port->handle(), descriptor);
        port->write("x");
        QCOMPARE(read_from(line, 1), QByteArray("x"));
    }

    void arrived_bytes_are_announced_and_read_in_order()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = open_port(line);
        QByteArray received;
        const QObject context; // the port outlives the test
        connect(port, &QIODevice::readyRead, &context, [&] { received += port->readAll(); });
        QByteArray sent;
        for (int i = 0; i < 1000; ++i)
            sent += QByteArray::number(i) + ',';
        send(line, sent);
        QVERIFY(QTest::qWaitFor([&] { return received.size() >= sent.size(); }, patience_ms));
        QCOMPARE(received, sent);
        QCOMPARE(port->thread(), QThread::currentThread());
    }

    void writes_are_sent_in_order_and_counted()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = new Threaded_serial_port;
        // The port outlives the test, and its writer may be in the middle of telling.
        const auto count = std::make_shared<std::atomic<qint64>>(0);
        connect(
            port, &QIODevice::bytesWritten, port, [count](qint64 bytes) { *count += bytes; },
            Qt::DirectConnection);
        port->open(device_of(line)); // from here on its writer tells
        QCOMPARE_GE(port->handle(), 0);
        QByteArray sent;
        for (int i = 0; i < 50; ++i) {
            const QByteArray piece = QByteArray::number(i).rightJustified(7, '.');
            port->write(piece);
            sent += piece;
        }
        QCOMPARE(read_from(line, static_cast<int>(sent.size())), sent);
        QVERIFY(QTest::qWaitFor([&] { return *count == sent.size(); }, patience_ms));
    }

    void waiting_for_a_quiet_writer_ends_without_a_wake_up()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = new Threaded_serial_port;
        const auto quiet = std::make_shared<QSemaphore>(); // the port outlives the test
        connect(
            port, &QIODevice::bytesWritten, port, [quiet] { quiet->release(); },
            Qt::DirectConnection);
        port->open(device_of(line));
        QVERIFY(quiet->tryAcquire(1, patience_ms));
        // The wake-up that belongs to it may still come.
        const bool first = port->waitForBytesWritten(10);
        const bool second = port->waitForBytesWritten(10);
        QVERIFY(!first || !second);
    }

    void closed_descriptor_never_reads_another_file()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = open_port(line);
        const int descriptor = port->handle();
        QSignalSpy spy(port, &QIODevice::readyRead);
        port->close();
        QCOMPARE(port->handle(), descriptor);
        QVERIFY(port->isOpen());
        // The reader may still be in its last read of the line; that one may return.
        send(line, "a");
        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        QVERIFY(ends[0] != descriptor && ends[1] != descriptor);
        QCOMPARE(::write(ends[1], "secret", 6), ssize_t{6});
        spy.wait(200);
        QCOMPARE_LACKS(port->readAll(), "secret");
    }

    void closed_descriptor_is_an_empty_pipe()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = open_port(line);
        port->close();
        pollfd waited = {port->handle(), POLLIN, 0};
        QCOMPARE(poll(&waited, 1, 0), 0); // open, nothing to read, and no end of the file
        QCOMPARE(fcntl(port->handle(), F_GETFL) & O_ACCMODE, O_RDONLY);
        QCOMPARE(fcntl(port->handle(), F_GETFD), FD_CLOEXEC);
    }

    void device_is_opened_for_both_ways_and_blocks()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = open_port(line);
        QCOMPARE(port->openMode(), QIODevice::OpenMode(QIODevice::ReadWrite));
        constexpr int others = O_NONBLOCK | O_APPEND | O_ASYNC | O_SYNC | O_DSYNC;
        QCOMPARE(fcntl(port->handle(), F_GETFL) & (O_ACCMODE | others), O_RDWR);
    }

    void commands_do_not_inherit_the_device()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = open_port(line);
        QCOMPARE(fcntl(port->handle(), F_GETFD), FD_CLOEXEC);
    }

    void arrived_bytes_can_be_read_before_they_are_announced()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = open_port(line);
        send(line, "abc");
        QByteArray received;
        for (const QDeadlineTimer deadline(patience_ms);
             received.size() < 3 && !deadline.hasExpired();)
            received += port->read(3); // and no event loop
        QCOMPARE(received, QByteArray("abc"));
    }

    void link_opens_at_115200_baud()
    {
        const Pseudo_terminal& line = new_line();
        auto* link = new Power_controller_interface;
        link->open(device_of(line));
        QCOMPARE(link->baud(), 115200U);
    }

    void bytes_that_fill_whole_reads_are_announced()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = open_port(line);
        QByteArray received;
        const QObject context; // the port outlives the test
        connect(port, &QIODevice::readyRead, &context, [&] { received += port->readAll(); });
        QByteArray sent;
        for (const int size : {255, 510, 1, 2550, 255, 254, 256}) {
            const QByteArray part(size, char('a' + sent.size() % 26));
            send(line, part);
            sent += part;
            QVERIFY(QTest::qWaitFor([&] { return received.size() >= sent.size(); }, patience_ms));
        }
        QCOMPARE(received, sent);
    }

    void arrival_is_announced_on_the_owners_thread_and_the_end_of_writing_on_the_writers()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = new Threaded_serial_port;
        struct Told {
            std::atomic<QThread*> announced{nullptr};
            std::atomic<QThread*> written{nullptr};
            std::atomic<qint64> count{0};
        };
        // The port outlives the test, and its writer may tell once more that it has run out.
        const auto told = std::make_shared<Told>();
        connect(
            port, &QIODevice::readyRead, port,
            [told] { told->announced = QThread::currentThread(); }, Qt::DirectConnection);
        connect(
            port, &QIODevice::bytesWritten, port,
            [told](qint64 bytes) {
                told->written = QThread::currentThread();
                told->count += bytes;
            },
            Qt::DirectConnection);
        port->open(device_of(line)); // from here on its threads tell
        send(line, "a");
        port->write("b");
        QVERIFY(wait_for([&] { return told->announced != nullptr && told->count == 1; }));
        QCOMPARE(told->announced.load(), QThread::currentThread());
        QCOMPARE_NE(told->written.load(), QThread::currentThread());
    }

    void bytes_that_are_peeked_at_stay()
    {
        const Pseudo_terminal& line = new_line();
        auto* port = open_port(line);
        QSignalSpy spy(port, &QIODevice::readyRead);
        send(line, "abc");
        WAIT_UNTIL(spy.count(), >, 0);
        QCOMPARE(port->peek(2), QByteArray("ab"));
        QCOMPARE(port->peek(260), QByteArray("abc"));
        QCOMPARE(port->read(1), QByteArray("a"));
        QCOMPARE(port->peek(260), QByteArray("bc"));
        QCOMPARE(port->readAll(), QByteArray("bc"));
    }

    void wake_up_is_told_from_the_end_of_the_time()
    {
        Threaded_serial_port port;
        std::atomic<bool> done{false};
        std::thread waker([&] {
            while (!done)
                port.notify_bytes_tx(0);
        });
        const bool woken = port.waitForBytesWritten(patience_ms);
        done = true;
        waker.join();
        QVERIFY(woken);
    }

    void read_brings_all_that_has_arrived()
    {
        Fifo device;
        auto* port = new Threaded_serial_port;
        port->open(device.name.constData());
        QByteArray bytes;
        for (int i = 0; bytes.size() < 20000; ++i)
            bytes += QByteArray::number(i) + ',';
        device.write(bytes);
        QVERIFY(arrived(*port, bytes.size()));
        QCOMPARE(port->peek(30000), bytes);
        QCOMPARE(port->read(30000), bytes);
        device.write(bytes);
        QVERIFY(arrived(*port, bytes.size()));
        QCOMPARE(port->read(30000), bytes);
    }

    void line_is_there_wherever_it_waits()
    {
        Fifo device;
        auto* link = new Power_controller_interface;
        link->open(device.name.constData());
        device.write("x");
        QVERIFY(arrived(*link, 1));
        QVERIFY(!link->canReadLine());
        device.write("yz\n");
        QVERIFY(arrived(*link, 4));
        QVERIFY(link->canReadLine()); // with the reader
        QCOMPARE_EMPTY(packet(*link));
        QCOMPARE(link->bytesAvailable(), qint64{2});
        QVERIFY(link->canReadLine()); // in the block
        QCOMPARE(link->peek(1), QByteArray("z"));
        QVERIFY(link->canReadLine()); // with QIODevice
        QVERIFY(!link->atEnd());
        QCOMPARE(link->readLine(), QByteArray("z\n"));
        QVERIFY(link->atEnd());
    }

    void bytes_are_read_from_the_block_and_behind_it()
    {
        struct Bare_link : Power_controller_interface {
            using Threaded_serial_port::readData;
        };
        Fifo device;
        auto* link = new Bare_link;
        link->open(device.name.constData());
        device.write("\n");
        QVERIFY(arrived(*link, 1));
        QCOMPARE_EMPTY(packet(*link)); // it is in the block now
        QVERIFY(link->canReadLine());
        device.write("abcdefgh");
        QVERIFY(arrived(*link, 9));
        QByteArray bytes(18, '.');
        QCOMPARE(link->readData(bytes.data() + 9, 4), qint64{4});
        QCOMPARE(bytes, QByteArray(".........\nabc....."));
        QCOMPARE(link->readData(bytes.data() + 13, 4), qint64{4});
        QCOMPARE(link->readData(bytes.data() + 17, 16), qint64{1});
        QCOMPARE(bytes, QByteArray(".........\nabcdefgh"));
    }

    void packet_is_found_behind_a_peek()
    {
        Fifo device;
        auto* link = new Power_controller_interface;
        link->open(device.name.constData());
        device.write(frame('A') + frame('B') + frame('C'));
        QVERIFY(arrived(*link, 39));
        QCOMPARE(link->peek(260).size(), 39);
        QCOMPARE(packet(*link).left(1), QByteArray("A"));
        QCOMPARE(link->read(13), frame('B'));
        link->ungetChar('x');
        QCOMPARE(packet(*link).left(1), QByteArray("C"));
        QCOMPARE(packet(*link), QByteArray());
        QCOMPARE(link->bytesAvailable(), qint64{0});
    }

    void packet_that_is_rolled_back_is_read_again()
    {
        Fifo device;
        auto* link = new Power_controller_interface;
        link->open(device.name.constData());
        device.write(frame('A') + frame('B'));
        QVERIFY(arrived(*link, 26));
        link->startTransaction();
        QCOMPARE(packet(*link).left(1), QByteArray("A"));
        link->rollbackTransaction();
        QCOMPARE(packet(*link).left(1), QByteArray("A"));
        QCOMPARE(packet(*link).left(1), QByteArray("B"));
    }

    void packet_is_found_before_the_event_loop_turns()
    {
        Fifo device;
        auto* link = new Power_controller_interface;
        link->open(device.name.constData());
        const QSignalSpy spy(link, &QIODevice::readyRead);
        device.write(frame('A'));
        QVERIFY(arrived(*link, 13));
        QCOMPARE(packet(*link).left(1), QByteArray("A"));
        QCOMPARE(spy.count(), 0);
    }

    void arrival_is_announced_also_when_it_has_been_read()
    {
        Fifo device;
        auto* port = new Threaded_serial_port;
        port->open(device.name.constData());
        QSignalSpy spy(port, &QIODevice::readyRead);
        for (int i = 1; i <= 3; ++i) {
            device.write("abc");
            QVERIFY(arrived(*port, 3));
            QCOMPARE(port->read(i), QByteArray("abc").left(i));
            WAIT_UNTIL(spy.count(), >=, i);
            QCOMPARE(spy.count(), i);
            QCOMPARE(port->readAll(), QByteArray("abc").mid(i));
        }
    }

    void notice_of_data_is_passed_on_without_data()
    {
        Threaded_serial_port port;
        const QSignalSpy spy(&port, &QIODevice::readyRead);
        port.notify_data_rx();
        port.notify_data_rx();
        QCOMPARE(spy.count(), 2);
    }

    /// A device whose reads go on failing after a hang-up keeps a processor busy: the port is
    /// closed.
    void what_came_before_a_hang_up_is_announced()
    {
        const QByteArray flood(16 * 255, 'h');
        for (int round = 0; round < 30; ++round) {
            Pseudo_terminal line(Pseudo_terminal::Mode::as_it_comes);
            auto* port = open_port(line);
            connect(port, &QIODevice::readyRead, port, [port] { port->readAll(); });
            (void)!::write(line.own(), flood.constData(), std::size_t(flood.size()));
            // The reader is in the middle of it.
            const QDeadlineTimer deadline(patience_ms);
            while (port->bytesAvailable() == 0 && !deadline.hasExpired())
                std::this_thread::yield();
            line.close();
            pollfd waited = {port->handle(), POLLIN, 0};
            QVERIFY(poll(&waited, 1, patience_ms) == 1 && (waited.revents & POLLHUP) != 0);
            const bool announced = wait_for([&] { return port->bytesAvailable() == 0; });
            port->disconnect();
            port->close();
            QVERIFY2(announced, qPrintable(QStringLiteral("round %1: %2 bytes are left")
                                               .arg(round)
                                               .arg(port->bytesAvailable())));
        }
    }

    /// 1260 frames are 4 bytes less than that: with these before them, a turn ends with a frame.
    void packets_come_16_kib_a_turn_data()
    {
        QTest::addColumn<int>("others");
        QTest::addColumn<QVector<int>>("expected");
        QTest::newRow("frames alone") << 0 << QVector<int>{1261, 2522, 3000};
        QTest::newRow("and 3 bytes") << 3 << QVector<int>{1261, 2522, 3000};
        QTest::newRow("and 4 bytes") << 4 << QVector<int>{1260, 2521, 3000};
    }
    void packets_come_16_kib_a_turn()
    {
        QFETCH(const int, others);
        Fifo device;
        auto* link = new Power_controller_interface;
        link->open(device.name.constData());
        QVector<int> turns;
        int handled = 0;
        const QObject context;
        connect(link, &Packet_serial_interface::handle_packet, &context, [&] { ++handled; });
        connect(link, &QIODevice::readyRead, &context, [&] { turns.append(handled); });
        device.write(QByteArray(others, 'x') + frame('A').repeated(3000));
        QVERIFY(arrived(*link, others + 39000));
        WAIT_UNTIL(handled, ==, 3000);
        QTEST(turns.mid(0, 3), "expected");
        // Outside of an announcement there is no such limit.
        QCoreApplication::processEvents();
        device.write(frame('A').repeated(3000));
        QVERIFY(arrived(*link, 39000));
        link->handle_read();
        QCOMPARE(handled, 6000);
    }

    /// While one receiver of readyRead() is out of its turn, the bytes are there for all others.
    void reads_have_no_turns()
    {
        Fifo device;
        auto* link = new Power_controller_interface;
        link->open(device.name.constData());
        QByteArray rest;
        const QObject context;
        connect(link, &QIODevice::readyRead, &context, [&] { rest += link->read(60000); });
        device.write(frame('A').repeated(3000));
        QVERIFY(arrived(*link, 39000));
        QVERIFY(wait_for([&] { return !rest.isEmpty(); }));
        QCOMPARE(rest.size(), (3000 - 1261) * 13);
    }

    void flood_of_packets_leaves_turns_to_timers()
    {
        const Pseudo_terminal& line = new_line();
        auto* link = new Power_controller_interface;
        link->open(device_of(line));
        int handled = 0;
        int most = 0;
        int turns = 0;
        const QObject context;
        connect(link, &Packet_serial_interface::handle_packet, &context, [&] { ++handled; });
        connect(link, &QIODevice::readyRead, &context, [&, before = 0]() mutable {
            most = std::max(most, handled - before);
            before = handled;
            ++turns;
        });
        constexpr int size = 20000;
        std::thread sender([&line] { send(line, frame('A').repeated(size)); });
        bool all = true; // and each part of it in its time
        for (int part = 1; all && part <= 20; ++part)
            all = wait_for([&] { return handled >= size / 20 * part; });
        sender.join();
        QVERIFY(all);
        QCOMPARE(handled, size);
        QCOMPARE_LE(most, 1261);
        QCOMPARE_GT(turns, 1);
    }
};

// The process ends without the ports' threads being joined, as the daemon does.
int main(int count, char** arguments)
{
    auto* application = new QCoreApplication(count, arguments);
    Threaded_serial_port_test test;
    const int failures = QTest::qExec(&test, application->arguments());
    (void)std::fflush(nullptr);
    _exit(failures);
}
#include "threaded_serial_port.moc"
