// Faults of the line and of the controller behind it.

#include "Pseudo_terminal.h"
#include "Terminal.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

#include <atomic>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

class Line : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void device_is_a_directory()
    {
        Terminal terminal;
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(),
                              {QStringLiteral("--port"), terminal.root.path()});
        QVERIFY(wait_for([&] { return terminal.serves(); }));
        QVERIFY(terminal.ends_cleanly());
    }

    /// Opened, but its other end has gone: EIO from the start.
    void device_is_a_closed_pty()
    {
        Terminal terminal;
        const int slave = ::open(terminal.controller.device().toLatin1().constData(),
                                 O_RDWR | O_NOCTTY | O_CLOEXEC);
        const QString path = QStringLiteral("/proc/%1/fd/%2").arg(getpid()).arg(slave);
        terminal.controller.hang_up();
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(),
                              {QStringLiteral("--port"), path});
        QVERIFY(wait_for([&] { return terminal.serves(); }));
        QVERIFY(terminal.ends_cleanly());
        ::close(slave);
    }

    /// A line that nobody reads fills up and blocks the writer; everything else goes on, and the
    /// end does not wait for it.
    void line_that_never_drains()
    {
        const Pseudo_terminal line;
        Terminal terminal;
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(),
                              {QStringLiteral("--port"), line.device()});
        QVERIFY(wait_for([&] { return terminal.serves(); }));
        tcflow(line.own(), TCOOFF);
        for (int i = 0; i < 2000; ++i)
            terminal.call(QStringLiteral("device/io/output/frequency/0"), QStringLiteral("set"),
                          {uint(i)});
        QVERIFY(terminal.serves());
        QVERIFY(terminal.ends_cleanly());
    }

    /// A line that stands still for a while: what waits goes out when it moves, in order.
    void line_that_drains_later()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        const int line = ::open(terminal.controller.device().toLatin1().constData(),
                                O_RDWR | O_NOCTTY | O_CLOEXEC);
        QCOMPARE(tcflow(line, TCOOFF), 0);
        QStringList wanted;
        for (uint i = 1; i <= 20; ++i) {
            terminal.call(QStringLiteral("device/operating_voltage"),
                          QStringLiteral("set_operating_voltage"), {i});
            wanted.append(
                QStringLiteral("0d %1 00 00 00 00 00 00").arg(i, 2, 16, QLatin1Char('0')));
        }
        QElapsedTimer since;
        since.start();
        QVERIFY(wait_for([&] { return since.elapsed() > 1000; })); // three are given up
        // A poll may have gone out before the line stood still.
        QCOMPARE(terminal.requests().filter(QStringLiteral("0d ")), QStringList());
        QCOMPARE(tcflow(line, TCOON), 0);
        ::close(line);
        QVERIFY(wait_for([&] { return terminal.controller.has_received("0d14"); }));
        QCOMPARE(terminal.requests().filter(QStringLiteral("0d ")), wanted);
        QVERIFY(terminal.ends_cleanly());
        const Fake_controller& controller = terminal.controller;
        WAIT_UNTIL(controller.received().size(), ==, controller.requests().size() * 13);
    }

    /// Garbage as fast as the line takes it: the bus stays served, and the frames around it count.
    void garbage_at_full_rate()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        QRandomGenerator random(20261121);
        for (int round = 0; round < 50; ++round) {
            QByteArray garbage(20000, '\0');
            for (char& byte : garbage)
                byte = static_cast<char>(random.bounded(256));
            garbage.replace('\x18', '\x19');
            terminal.controller.send_bytes(garbage);
            terminal.controller.send(Fake_controller::digest(round));
            QVERIFY(terminal.serves());
        }
        QCOMPARE(terminal.output().count("Got message 36\n"), 50);
        QCOMPARE(terminal.get(QStringLiteral("device/io/input/frequency/0"),
                              QStringLiteral("get_value")),
                 QVariant(49.0));
    }

    /// What looks like the beginning of a frame costs a look and a text each time.
    void beginnings_of_frames_at_full_rate_data()
    {
        QTest::addColumn<QByteArray>("piece");
        QTest::newRow("first bytes") << QByteArray::fromHex("18");
        QTest::newRow("sync pairs") << QByteArray::fromHex("18ef");
        QTest::newRow("headers") << QByteArray::fromHex("18ef5978");
        QTest::newRow("frames without their last byte") << Fake_controller::frame("A").chopped(1);
        QTest::newRow("frames without their first byte") << Fake_controller::frame("A").mid(1);
    }
    void beginnings_of_frames_at_full_rate()
    {
        QFETCH(const QByteArray, piece);
        Terminal terminal;
        terminal.start();
        terminal.clear();
        for (int round = 0; round < 10; ++round) {
            terminal.controller.send_bytes(piece.repeated(20000 / piece.size()));
            terminal.controller.send(Fake_controller::digest(round));
            QVERIFY(terminal.serves());
        }
        QCOMPARE(terminal.output().count("Got message 36\n"), 10);
        QCOMPARE(terminal.get(QStringLiteral("device/io/input/frequency/0"),
                              QStringLiteral("get_value")),
                 QVariant(9.0));
        QVERIFY(terminal.ends_cleanly());
    }

    /// Frames without a pause, from before the start to behind the end.
    void flood_from_start_to_end()
    {
        const Pseudo_terminal line;
        std::atomic<bool> done{false};
        std::thread flood([&] {
            const QByteArray frames =
                Fake_controller::frame(Fake_controller::digest(300)).repeated(100);
            for (int at = 0; !done;) {
                pollfd waited = {line.own(), POLLIN | POLLOUT, 0};
                poll(&waited, 1, 100);
                char requests[256];
                (void)!::read(line.own(), requests, sizeof requests);
                const ssize_t count =
                    ::write(line.own(), frames.constData() + at, std::size_t(frames.size() - at));
                at = (at + int(std::max<ssize_t>(count, 0))) % static_cast<int>(frames.size());
            }
        });
        Terminal terminal;
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(),
                              {QStringLiteral("--port"), line.device()});
        const bool serves = terminal.wait_until_started() && terminal.serves();
        const bool handles = wait_for([&] {
            return terminal.get(QStringLiteral("device/io/input/frequency/0"),
                                QStringLiteral("get_value")) == QVariant(300.0);
        });
        const bool ends = terminal.ends_cleanly();
        done = true;
        flood.join();
        QVERIFY(serves);
        QVERIFY(handles);
        QVERIFY(ends);
    }

    void burst_of_100000_frames()
    {
        constexpr int frames = 100000;
        Terminal terminal;
        terminal.start();
        terminal.clear();
        QByteArray bytes;
        bytes.reserve(frames * 13);
        for (int i = 0; i < frames; ++i)
            bytes += Fake_controller::frame(Fake_controller::digest(i % 65536));
        terminal.controller.send_bytes(bytes);
        // Looks at each text once, and waits as long as there are more.
        const QByteArray label = "Got message 36\n";
        int handled = 0;
        decltype(label.size()) at = 0;
        const auto count = [&] {
            const QByteArray& text = terminal.daemon.output();
            for (auto found = text.indexOf(label, at); found >= 0;
                 found = text.indexOf(label, at)) {
                at = found + label.size();
                ++handled;
            }
            return handled;
        };
        for (int before = 0; before < frames; before = handled)
            WAIT_UNTIL(count(), >, before);
        QCOMPARE(handled, frames);
        QCOMPARE(terminal.get(QStringLiteral("device/io/input/frequency/0"),
                              QStringLiteral("get_value")),
                 QVariant(double{(frames - 1) % 65536}));
        QVERIFY(terminal.ends_cleanly());
    }

    /// The second of two answers finds the next request, which it does not match.
    void controller_answers_twice()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        terminal.controller.ignore(0x29);
        const qint64 asked = terminal.controller.now();
        terminal.call(QStringLiteral("device/io/output/frequency/0"), QStringLiteral("set"), {1U});
        terminal.call(QStringLiteral("device/operating_voltage"),
                      QStringLiteral("set_operating_voltage"), {2U});
        QVERIFY(wait_for([&] { return terminal.controller.has_received("290100 01"); }));
        const qint64 answered = terminal.controller.now();
        terminal.controller.send(QByteArray::fromHex("2a"));
        terminal.controller.send(QByteArray::fromHex("2a"));
        QVERIFY(wait_for([&] { return terminal.controller.has_received("0d02"); }));
        for (const auto& request : terminal.controller.requests()) {
            if (request.payload[0] ==
                0x0d) // behind the first answer, or the first has no more time
                QVERIFY(request.msecs >= answered || request.msecs - asked >= 300);
        }
        QVERIFY(terminal.serves());
    }

    /// Answers to nothing leave the request where it is: it is given up after its time.
    void controller_answers_wrongly()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        terminal.controller.ignore(0x29);
        QElapsedTimer since;
        since.start();
        terminal.call(QStringLiteral("device/io/output/frequency/0"), QStringLiteral("set"), {1U});
        terminal.call(QStringLiteral("device/operating_voltage"),
                      QStringLiteral("set_operating_voltage"), {2U});
        for (const char* wrong : {"28", "29", "2b", "00", "ff"})
            terminal.controller.send(QByteArray::fromHex(wrong));
        QVERIFY(wait_for([&] { return terminal.controller.has_received("0d02"); }));
        QCOMPARE_GE(since.elapsed(), 300);
    }

    /// Every request is written once, 300 ms apart, and nothing piles up or is repeated.
    void controller_never_answers()
    {
        Terminal terminal;
        terminal.controller.set_silent(true);
        const qint64 launched = terminal.controller.now();
        terminal.start();
        WAIT_UNTIL(terminal.controller.requests().size(), >=, 12);
        const auto& requests = terminal.controller.requests();
        for (int i = 1; i < 12; ++i)
            QCOMPARE_GE(requests[i].msecs - launched, i * 300);
        QVERIFY(terminal.serves());
        QVERIFY(terminal.ends_cleanly());
    }
};

QTEST_GUILESS_MAIN(Line)
#include "line.moc"
