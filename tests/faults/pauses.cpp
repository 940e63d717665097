// The daemon, its bus, a client or its controller stand still for a while, or are gone and return.

#include "Terminal.h"

#include <csignal>

class Pauses : public QObject {
    Q_OBJECT

private:
    static double frequency(Terminal& terminal)
    {
        return terminal
            .get(QStringLiteral("device/io/input/frequency/0"), QStringLiteral("get_value"))
            .toDouble();
    }

    /// Has every digest change the first digital input.
    static void send_changes(Terminal& terminal, int count)
    {
        QByteArray frames;
        for (int i = 0; i < count; ++i)
            frames += Fake_controller::frame(QByteArray::fromHex(i % 2 == 0 ? "1001" : "1000"));
        terminal.controller.send_bytes(frames);
    }

    static int changes(const Terminal& terminal)
    {
        int count = 0;
        for (const Terminal::Signal& signal : terminal.seen_signals())
            count += signal.path == QLatin1String("device/io/input/digital/0");
        return count;
    }

private Q_SLOTS:
    /// The line holds what comes meanwhile.
    void daemon_is_stopped_while_the_line_fills()
    {
        constexpr int frames = 250; // less than a pseudo terminal holds
        Terminal terminal;
        terminal.start();
        terminal.clear();
        terminal.daemon.signal(SIGSTOP);
        for (int i = 1; i <= frames; ++i)
            terminal.controller.send(Fake_controller::digest(i));
        terminal.daemon.signal(SIGCONT);
        QCOMPARE(terminal.output().count("Got message 36\n"), frames);
        QCOMPARE(frequency(terminal), double{frames});
        QVERIFY(terminal.ends_cleanly());
    }

    /// The halves of a frame may be as far apart as they like.
    void frame_is_split_by_a_poll()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        const QByteArray frame = Fake_controller::frame(Fake_controller::digest(4711));
        terminal.controller.set_silent(true); // no answer between the halves
        terminal.controller.send_bytes(frame.left(6));
        QVERIFY(wait_for([&] { return terminal.controller.has_received("1b"); }));
        terminal.controller.send_bytes(frame.mid(6));
        QCOMPARE(terminal.output().count("Got message 36\n"), 1);
        QCOMPARE(frequency(terminal), 4711.0);
        QVERIFY(terminal.ends_cleanly());
    }

    /// Signals wait for the bus, the line does not.
    void bus_stands_still()
    {
        constexpr int messages = 10000; // signals of more than 1 MiB: the daemon waits once
        Terminal terminal;
        terminal.start();
        terminal.clear();
        terminal.bus.signal(SIGSTOP);
        send_changes(terminal, messages);
        QVERIFY(wait_for(
            [&] { return terminal.daemon.output().count("Got message 10\n") == messages; }));
        terminal.bus.signal(SIGCONT);
        WAIT_UNTIL(changes(terminal), ==, messages);
        QVERIFY(terminal.ends_cleanly());
    }

    /// Start-up waits for the bus as long as it takes.
    void bus_stands_still_at_the_start()
    {
        Terminal terminal;
        terminal.bus.signal(SIGSTOP);
        terminal.launch();
        QVERIFY(wait_for([&] {
            return terminal.log.lines().contains(QLatin1String("Timeout for sleep is 100"));
        }));
        QCOMPARE_EMPTY(terminal.controller.requests());
        terminal.bus.signal(SIGCONT);
        QVERIFY(terminal.wait_until_started());
        QVERIFY(terminal.ends_cleanly());
    }

    /// The end does not wait for a bus that stands still.
    void end_while_the_bus_stands_still()
    {
        Terminal terminal;
        terminal.start();
        terminal.bus.signal(SIGSTOP);
        send_changes(terminal, 2000);
        const bool ended = terminal.ends_cleanly();
        terminal.bus.signal(SIGCONT);
        QVERIFY(ended);
    }

    /// The bus that takes its place knows nothing of the daemon; the line goes on.
    void bus_is_started_again()
    {
        Terminal terminal;
        terminal.start();
        terminal.bus.stop();
        terminal.bus.start();
        terminal.controller.clear();
        send_changes(terminal, 100);
        QVERIFY(
            wait_for([&] { return terminal.daemon.output().count("Got message 10\n") == 100; }));
        QVERIFY(wait_for([&] { return terminal.controller.has_received("1b"); }));
        QVERIFY(terminal.ends_cleanly());
    }

    /// The bus keeps the signals for it; nobody else waits.
    void client_never_reads_its_signals()
    {
        constexpr int messages = 20000;
        Terminal terminal;
        Bound_process client;
        client.start(QStringLiteral("dbus-monitor"),
                     {QStringLiteral("--address"), terminal.bus.address()});
        WAIT_UNTIL(client.bytesAvailable(), >, 0);
        terminal.start();
        terminal.clear();
        ::kill(static_cast<pid_t>(client.processId()), SIGSTOP);
        send_changes(terminal, messages);
        WAIT_UNTIL(changes(terminal), ==, messages);
        QVERIFY(!terminal.get(QStringLiteral("device/io/input/digital/0"), QStringLiteral("is_on"))
                     .toBool());
        client.kill();
        client.waitForFinished();
        QVERIFY(terminal.ends_cleanly());
    }
};

QTEST_GUILESS_MAIN(Pauses)
#include "pauses.moc"
