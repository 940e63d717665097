// The thread that writes. It lives until the process ends, so none is deleted here.

#include "Threaded_serial_port_writer.h"

#include "Waiting.h"

#include <mutex>

#include <sys/socket.h>

class Threaded_serial_port_writer_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void it_writes_13_bytes_at_a_time_and_counts_them()
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
};

QTEST_GUILESS_MAIN(Threaded_serial_port_writer_test)
#include "threaded_serial_port_writer.moc"
