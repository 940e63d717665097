// The thread that reads. It lives until the process ends, so none is deleted here.

#include "Threaded_serial_port_reader.h"

#include "Waiting.h"

#include <QSignalSpy>

#include <atomic>
#include <cerrno>
#include <mutex>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// A device whose second read fails, and every later one.
std::atomic<int> failing_descriptor{-1};
std::atomic<int> reads_of_it{0};

} // namespace

/// As the C library's, but for that device.
extern "C" ssize_t read(int descriptor, void* bytes, std::size_t size)
{
    if (descriptor == failing_descriptor && reads_of_it++ > 0) {
        errno = EIO;
        return -1;
    }
    return syscall(SYS_read, descriptor, bytes, size);
}

class Threaded_serial_port_reader_test : public QObject {
    Q_OBJECT

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
            reader->heard();
            reader->take(bytes);
            sizes.append(static_cast<int>(bytes.size()));
            left -= static_cast<int>(bytes.size());
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

private Q_SLOTS:
    void it_tells_of_full_batches_and_of_what_is_left()
    {
        // 16 reads of 255 bytes, and what remains.
        QCOMPARE(told_of(3 * 4080 + 511), (QVector<int>{4080, 4080, 4080, 511}));
    }

    void it_holds_a_mebibyte_at_most()
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
        QCOMPARE(reader->size(), held);
        QVERIFY(reader->take(bytes));
        QCOMPARE(bytes.size(), held);
        // It goes on once there is room.
        QVERIFY(wait_for([&] {
            reader->take(bytes);
            return bytes.size() == held + size * (1 + waiting);
        }));
    }

    /// Those that nobody is told of are counted all the same: the sanitizers see it end.
    void more_than_2_gib_are_kept_without_a_word_about_them()
    {
        const QByteArray part(Threaded_serial_port_reader::backlog, 'p');
        Threaded_serial_port_reader reader;
        QByteArray bytes;
        for (int count = 0; count <= 2048; ++count) {
            reader.keep(part.constData(), static_cast<int>(part.size()));
            QVERIFY(reader.take(bytes));
            bytes.resize(0);
        }
        QCOMPARE(reader.size(), 0);
    }

    void what_is_taken_comes_behind_what_was_there_and_once()
    {
        Threaded_serial_port_reader reader;
        QByteArray bytes;
        QVERIFY(!reader.take(bytes));
        reader.keep("ab", 2);
        QVERIFY(reader.take(bytes));
        QVERIFY(!reader.take(bytes));
        reader.keep("cd", 2);
        QVERIFY(reader.take(bytes));
        QCOMPARE(bytes, QByteArray("abcd"));
        QVERIFY(!reader.take(bytes));
        QCOMPARE(reader.size(), 0);
    }

    void what_was_read_is_announced_when_the_next_read_fails()
    {
        int ends[2];
        QCOMPARE(pipe2(ends, O_CLOEXEC), 0);
        constexpr char bytes[600] = {};
        QCOMPARE(::write(ends[1], bytes, sizeof bytes), ssize_t{sizeof bytes});
        auto* reader = new Threaded_serial_port_reader;
        QSignalSpy spy(reader, &Threaded_serial_port_reader::data_rx);
        reads_of_it = 0;
        failing_descriptor = ends[0];
        reader->set_descriptor(ends[0]);
        reader->start();
        const bool told = wait_for([&] { return spy.count() > 0; });
        failing_descriptor = -1; // or it would go on trying
        QByteArray taken;
        reader->take(taken);
        QVERIFY2(told, "the device has failed, and nothing is told of the bytes before");
        QCOMPARE_GE(taken.size(), 255);
    }
};

QTEST_GUILESS_MAIN(Threaded_serial_port_reader_test)
#include "threaded_serial_port_reader.moc"
