// The port on a real pty. A started port lives until the process ends, so none is deleted here.

#include "Threaded_serial_port.h"

#include "Power_controller_interface.h"
#include "Waiting.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

class Threaded_serial_port_test : public QObject {
    Q_OBJECT

    class Pty {
    public:
        Pty() : master(posix_openpt(O_RDWR | O_NOCTTY))
        {
            if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0)
                qFatal("no pseudo terminal");
            name = ptsname(master);
        }
        int master;
        QByteArray name;
    };

    static QByteArray read_master(const Pty& pty, int size)
    {
        QByteArray bytes;
        while (bytes.size() < size) {
            pollfd waited = {pty.master, POLLIN, 0};
            char part[256];
            const ssize_t count =
                poll(&waited, 1, patience_ms) > 0 ? ::read(pty.master, part, sizeof part) : 0;
            if (count <= 0)
                break;
            bytes.append(part, static_cast<int>(count));
        }
        return bytes;
    }

    /// Reads what is in sight; how much it was.
    static int take_in_sight(Threaded_serial_port& port)
    {
        class Peek : public Threaded_serial_port {
        public:
            using Threaded_serial_port::received_size;
        };
        QByteArray bytes((port.*(&Peek::received_size))(), '\0');
        return int(port.read(bytes.data(), bytes.size()));
    }

    static Threaded_serial_port* open_port(const Pty& pty)
    {
        auto* port = new Threaded_serial_port;
        port->open(pty.name.constData());
        return port;
    }

private Q_SLOTS:
    void missing_device_leaves_it_closed()
    {
        Threaded_serial_port port;
        port.open("/nonexistent/device");
        QVERIFY(port.handle() < 0);
        QVERIFY(!port.isOpen());
        port.open("/nonexistent"); // a second try is allowed
        QVERIFY(port.handle() < 0);
        port.close();
    }

    void device_that_was_missing_can_be_opened_later()
    {
        const Pty pty;
        auto* port = new Threaded_serial_port;
        port->open("/nonexistent/device");
        port->open(pty.name.constData());
        QVERIFY(port->handle() >= 0);
        port->write("x");
        QCOMPARE(read_master(pty, 1), QByteArray("x"));
        QSignalSpy spy(port, &QIODevice::readyRead);
        QCOMPARE(::write(pty.master, "y", 1), ssize_t{1});
        QVERIFY(wait_for([&] { return spy.count() > 0; }));
        QCOMPARE(port->readAll(), QByteArray("y"));
    }

    void empty_device_reads_nothing_at_once()
    {
        const Pty pty;
        auto* port = open_port(pty);
        QVERIFY(port->isOpen());
        QVERIFY(port->isSequential());
        char byte = 0;
        QCOMPARE(port->read(&byte, 1), qint64{0});
    }

    void second_open_does_nothing()
    {
        const Pty pty;
        const Pty other;
        auto* port = open_port(pty);
        const int descriptor = port->handle();
        port->open(other.name.constData());
        QCOMPARE(port->handle(), descriptor);
        port->write("x");
        QCOMPARE(read_master(pty, 1), QByteArray("x"));
    }

    void arrived_bytes_are_announced_and_read_in_order()
    {
        const Pty pty;
        auto* port = open_port(pty);
        QByteArray received;
        connect(port, &QIODevice::readyRead, port, [&] { received += port->readAll(); });
        QByteArray sent;
        for (int i = 0; i < 1000; ++i)
            sent += QByteArray::number(i) + ',';
        QCOMPARE(::write(pty.master, sent.constData(), std::size_t(sent.size())),
                 ssize_t{sent.size()});
        QVERIFY(QTest::qWaitFor([&] { return received.size() >= sent.size(); }, patience_ms));
        QCOMPARE(received, sent);
        QCOMPARE(port->thread(), QThread::currentThread());
    }

    void writes_are_sent_in_order_and_counted()
    {
        const Pty pty;
        auto* port = open_port(pty);
        QVERIFY(port->handle() >= 0);
        std::atomic<qint64> count{0};
        connect(
            port, &QIODevice::bytesWritten, port, [&count](qint64 bytes) { count += bytes; },
            Qt::DirectConnection);
        QByteArray sent;
        for (int i = 0; i < 50; ++i) {
            const QByteArray piece = QByteArray::number(i).rightJustified(7, '.');
            port->write(piece);
            sent += piece;
        }
        QCOMPARE(read_master(pty, sent.size()), sent);
        QVERIFY(QTest::qWaitFor([&] { return count == sent.size(); }, patience_ms));
    }

    void waiting_for_a_quiet_writer_ends_without_a_wake_up()
    {
        const Pty pty;
        auto* port = open_port(pty);
        while (port->waitForBytesWritten(50)) {
        }
        QVERIFY(!port->waitForBytesWritten(10));
    }

    void closed_descriptor_never_reads_another_file()
    {
        const Pty pty;
        auto* port = open_port(pty);
        const int descriptor = port->handle();
        QSignalSpy spy(port, &QIODevice::readyRead);
        port->close();
        QCOMPARE(port->handle(), descriptor);
        QVERIFY(port->isOpen());
        // The reader may still be in its last read of the line; that one may return.
        QCOMPARE(::write(pty.master, "a", 1), ssize_t{1});
        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        QVERIFY(ends[0] != descriptor && ends[1] != descriptor);
        QCOMPARE(::write(ends[1], "secret", 6), ssize_t{6});
        spy.wait(200);
        QVERIFY(!port->readAll().contains("secret"));
    }

    void closed_descriptor_is_an_empty_pipe()
    {
        const Pty pty;
        auto* port = open_port(pty);
        port->close();
        pollfd waited = {port->handle(), POLLIN, 0};
        QCOMPARE(poll(&waited, 1, 0), 0); // open, nothing to read, and no end of the file
        QCOMPARE(fcntl(port->handle(), F_GETFL) & O_ACCMODE, O_RDONLY);
        QCOMPARE(fcntl(port->handle(), F_GETFD), FD_CLOEXEC);
    }

    void device_is_opened_for_both_ways_and_blocks()
    {
        const Pty pty;
        auto* port = open_port(pty);
        QCOMPARE(port->openMode() & QIODevice::ReadWrite, QIODevice::ReadWrite);
        constexpr int others = O_NONBLOCK | O_APPEND | O_ASYNC | O_SYNC | O_DSYNC;
        QCOMPARE(fcntl(port->handle(), F_GETFL) & (O_ACCMODE | others), O_RDWR);
    }

    void commands_do_not_inherit_the_device()
    {
        const Pty pty;
        auto* port = open_port(pty);
        QCOMPARE(fcntl(port->handle(), F_GETFD), FD_CLOEXEC);
    }

    void descriptor_0_is_as_good_as_any()
    {
        ::close(STDIN_FILENO);
        const Pty pty;
        auto* port = new Threaded_serial_port;
        // The pty's own end has taken the number.
        const int master = dup(pty.master);
        ::close(STDIN_FILENO);
        port->open(pty.name.constData());
        QCOMPARE(port->handle(), STDIN_FILENO);
        QVERIFY(port->isOpen());
        port->write("x");
        char byte = 0;
        pollfd waited = {master, POLLIN, 0};
        QCOMPARE(poll(&waited, 1, patience_ms), 1);
        QCOMPARE(::read(master, &byte, 1), ssize_t{1});
        const Pty other;
        port->open(other.name.constData()); // is open
        QCOMPARE(port->handle(), STDIN_FILENO);
        port->close();
        QCOMPARE(fcntl(STDIN_FILENO, F_GETFL) & O_ACCMODE, O_RDONLY); // the pipe
    }

    void arrived_bytes_can_be_read_before_they_are_announced()
    {
        const Pty pty;
        auto* port = open_port(pty);
        QCOMPARE(::write(pty.master, "abc", 3), ssize_t{3});
        QByteArray received;
        for (const QDeadlineTimer deadline(patience_ms);
             received.size() < 3 && !deadline.hasExpired();)
            received += port->read(3); // and no event loop
        QCOMPARE(received, QByteArray("abc"));
    }

    void link_opens_at_115200_baud()
    {
        const Pty pty;
        auto* link = new Power_controller_interface;
        link->open(pty.name.constData());
        QCOMPARE(link->baud(), 115200U);
    }

    void bytes_that_fill_whole_reads_are_announced()
    {
        const Pty pty;
        auto* port = open_port(pty);
        QByteArray received;
        connect(port, &QIODevice::readyRead, port, [&] { received += port->readAll(); });
        QByteArray sent;
        for (const int size : {255, 510, 1, 2550, 255, 254, 256}) {
            const QByteArray part(size, char('a' + sent.size() % 26));
            QCOMPARE(::write(pty.master, part.constData(), std::size_t(size)), ssize_t{size});
            sent += part;
            QVERIFY(QTest::qWaitFor([&] { return received.size() >= sent.size(); }, patience_ms));
        }
        QCOMPARE(received, sent);
    }

    void writer_writes_13_bytes_at_a_time_and_counts_them()
    {
        int ends[2];
        QCOMPARE(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
        auto* writer = new Threaded_serial_port_writer;
        std::mutex mutex;
        QVector<int> counts;
        connect(
            writer, &Threaded_serial_port_writer::bytes_tx, writer,
            [&](int count) {
                const std::lock_guard<std::mutex> guard(mutex);
                counts.append(count);
            },
            Qt::DirectConnection);
        const auto counts_are = [&](const QVector<int>& wanted) {
            const std::lock_guard<std::mutex> guard(mutex);
            return counts == wanted;
        };
        writer->set_descriptor(ends[0]);
        writer->start();
        QVERIFY(wait_for([&] { return counts_are({0}); }));
        writer->append("abcdefghijklmnopqrstuvwxyz1234", 30);
        QVERIFY(wait_for([&] { return counts_are({0, 30}); }));
        for (const char* piece : {"abcdefghijklm", "nopqrstuvwxyz", "1234"}) {
            char bytes[64];
            const ssize_t count = ::recv(ends[1], bytes, sizeof bytes, 0);
            QCOMPARE(QByteArray(bytes, int(count)), QByteArray(piece));
        }
        writer->disconnect();
    }

    /// Each request to write wakes the writer once, also when there is nothing left to do.
    void what_waits_for_the_writer_is_written_as_one()
    {
        int ends[2];
        QCOMPARE(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
        auto* writer = new Threaded_serial_port_writer;
        std::mutex mutex;
        QVector<int> counts;
        const auto connection = connect(
            writer, &Threaded_serial_port_writer::bytes_tx, writer,
            [&](int count) {
                const std::lock_guard<std::mutex> guard(mutex);
                counts.append(count);
            },
            Qt::DirectConnection);
        writer->set_descriptor(ends[0]);
        for (const char* part : {"0123456", "789abcdefgh", "ijk"})
            writer->append(part, int(qstrlen(part)));
        writer->start();
        QVERIFY(wait_for([&] {
            const std::lock_guard<std::mutex> guard(mutex);
            return counts == QVector<int>{21, 0, 0, 0};
        }));
        for (const char* piece : {"0123456789abc", "defghijk"}) {
            char bytes[64];
            const ssize_t count = ::recv(ends[1], bytes, sizeof bytes, 0);
            QCOMPARE(QByteArray(bytes, int(count)), QByteArray(piece));
        }
        disconnect(connection);
    }

    void arrival_is_announced_on_the_owners_thread_and_the_end_of_writing_on_the_writers()
    {
        const Pty pty;
        auto* port = open_port(pty);
        std::atomic<QThread*> announced{nullptr};
        std::atomic<QThread*> written{nullptr};
        std::atomic<qint64> count{0}; // 1 is the last of it
        connect(
            port, &QIODevice::readyRead, port, [&] { announced = QThread::currentThread(); },
            Qt::DirectConnection);
        connect(
            port, &QIODevice::bytesWritten, port,
            [&](qint64 bytes) {
                written = QThread::currentThread();
                count += bytes;
            },
            Qt::DirectConnection);
        QCOMPARE(::write(pty.master, "a", 1), ssize_t{1});
        port->write("b");
        QVERIFY(wait_for([&] { return announced != nullptr && count == 1; }));
        port->disconnect();
        QCOMPARE(announced.load(), QThread::currentThread());
        QVERIFY(written.load() != QThread::currentThread());
    }

    void bytes_that_are_peeked_at_stay()
    {
        const Pty pty;
        auto* port = open_port(pty);
        QSignalSpy spy(port, &QIODevice::readyRead);
        QCOMPARE(::write(pty.master, "abc", 3), ssize_t{3});
        QVERIFY(wait_for([&] { return spy.count() > 0; }));
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

    /// What a reader tells of, each time that it has something to tell, when so much is there from
    /// the start.
    static QVector<int> told_of(int size)
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0 ||
            ::write(ends[1], QByteArray(size, 'r').constData(), std::size_t(size)) != size)
            qFatal("no pipe");
        auto* reader = new Threaded_serial_port_reader;
        reader->set_descriptor(ends[0]);
        std::mutex mutex;
        QVector<int> sizes;
        int left = size;
        const auto take = [&] {
            const std::lock_guard<std::mutex> guard(mutex);
            QByteArray bytes;
            while (reader->take(bytes)) {
                sizes.append(bytes.size());
                left -= bytes.size();
                bytes.clear();
            }
        };
        const auto connection = connect(reader, &Threaded_serial_port_reader::data_rx, reader, take,
                                        Qt::DirectConnection);
        reader->start();
        (void)wait_for([&] {
            const std::lock_guard<std::mutex> guard(mutex);
            return left <= 0;
        });
        disconnect(connection);
        const std::lock_guard<std::mutex> guard(mutex);
        return sizes;
    }

    void reader_tells_of_full_batches_and_of_what_is_left()
    {
        // 16 reads of 255 bytes, and what remains.
        QCOMPARE(told_of(3 * 4080 + 511), (QVector<int>{4080, 4080, 4080, 511}));
    }

    void reader_holds_a_mebibyte_at_most()
    {
        int ends[2];
        QCOMPARE(pipe2(ends, O_CLOEXEC | O_DIRECT), 0); // what is written at once is read at once
        auto* reader = new Threaded_serial_port_reader;
        reader->set_descriptor(ends[0]);
        reader->start();
        constexpr char packet[128] = {};
        constexpr int size = sizeof packet;
        constexpr int held = 1024 * 1024;
        constexpr int waiting = 7;
        // One more is in the reader's hand.
        for (int sent = 0; sent < held + size * (1 + waiting); sent += size)
            QCOMPARE(::write(ends[1], packet, sizeof packet), ssize_t{size});
        const auto is_waiting = [&] {
            int left = -1;
            return ioctl(ends[0], FIONREAD, &left) == 0 && left <= size * waiting;
        };
        QVERIFY(wait_for(is_waiting));
        QByteArray bytes;
        QVERIFY(reader->take(bytes));
        QCOMPARE(bytes.size(), held);
        // It goes on once there is room.
        QVERIFY(wait_for([&] {
            reader->take(bytes);
            return bytes.size() == held + size * (1 + waiting);
        }));
    }

    void bytes_come_in_sight_16_kib_at_a_time()
    {
        const QTemporaryDir directory;
        const QByteArray path = directory.filePath(QStringLiteral("fifo")).toUtf8();
        QCOMPARE(mkfifo(path.constData(), 0600), 0);
        auto* port = new Threaded_serial_port;
        port->open(path.constData());
        QVector<int> sizes;
        connect(port, &QIODevice::readyRead, port, [&] { sizes.append(take_in_sight(*port)); });
        const QByteArray bytes(40000, 'b');
        QCOMPARE(::write(port->handle(), bytes.constData(), std::size_t(bytes.size())),
                 ssize_t{bytes.size()});
        // All but its last read is with the reader before the port hears of any.
        int left = bytes.size();
        for (const QDeadlineTimer deadline(patience_ms); left > 0 && !deadline.hasExpired();)
            QCOMPARE(ioctl(port->handle(), FIONREAD, &left), 0);
        QVERIFY(sizes.isEmpty());
        QVERIFY(wait_for([&] { return sizes.size() >= 2; }));
        QCOMPARE(sizes.mid(0, 2), (QVector<int>{16384, 16384}));
        port->disconnect();
    }

    void flood_comes_in_turns_and_is_bounded()
    {
        const Pty pty;
        auto* port = open_port(pty);
        int turns = 0;
        int most = 0;
        qint64 total = 0;
        QVERIFY(port->isOpen());
        connect(port, &QIODevice::readyRead, port, [&] {
            ++turns;
            const int taken = take_in_sight(*port);
            most = std::max(most, taken);
            total += taken;
        });
        constexpr qint64 size = 300000;
        std::thread sender([&pty] {
            const QByteArray part(1000, 'f');
            for (qint64 sent = 0; sent < size; sent += part.size()) {
                for (int at = 0; at < part.size();)
                    at += int(
                        ::write(pty.master, part.constData() + at, std::size_t(part.size() - at)));
            }
        });
        QVERIFY(QTest::qWaitFor([&] { return total >= size; }, patience_ms));
        sender.join();
        QCOMPARE(total, size);
        QVERIFY(most <= Threaded_serial_port::turn);
        QVERIFY(turns > 1);
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
