// What is printed has left before what follows it: a signal on the bus, a line in the log, a frame
// on the line. One of the daemon's streams leads to a pipe that has no room left, so that the
// daemon waits for it with everything that follows still to be sent.

#include "Terminal.h"

#include <QDir>

#include <csignal>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

/// A pipe of one page. What is written at its writing end blocks as soon as the page is full; with
/// O_DIRECT it is full with one text, however short.
class Gate {
public:
    explicit Gate(int flags = 0)
    {
        if (pipe2(ends_, O_CLOEXEC | flags) != 0 || fcntl(ends_[0], F_SETFL, O_NONBLOCK) != 0)
            qFatal("no pipe");
        size_ = fcntl(ends_[1], F_SETPIPE_SZ, 4096);
        // The daemon's own writing end goes on blocking.
        const QByteArray path = "/proc/self/fd/" + QByteArray::number(ends_[1]);
        filling_end_ = ::open(path.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    }
    ~Gate()
    {
        ::close(ends_[0]);
        ::close(ends_[1]);
        ::close(filling_end_);
    }
    Q_DISABLE_COPY(Gate)

    int writing_end() const { return ends_[1]; }

    /// Takes one text, if the pipe is one for a text, and remembers it; whether there was any.
    bool take()
    {
        char bytes[4096];
        const ssize_t count = ::read(ends_[0], bytes, sizeof bytes);
        if (count > 0)
            text_.append(bytes, static_cast<int>(count));
        return count > 0;
    }

    /// Takes what is there, which makes room, and remembers it.
    const QByteArray& drain()
    {
        while (take()) {
        }
        return text_;
    }

    /// Leaves room for so many bytes and no more, and forgets what was there.
    void close_but_for(int room)
    {
        const QByteArray filler(size_ - room, '.');
        const auto length = static_cast<std::size_t>(filler.size());
        // Once more when a text has come between the two.
        const bool filled = wait_for([&] {
            drain();
            return ::write(filling_end_, filler.constData(), length) == filler.size();
        });
        if (!filled)
            qFatal("no room for the filler");
        text_.clear();
        filled_ = static_cast<int>(filler.size());
    }

    /// How many bytes have come since.
    int arrived() const
    {
        int waiting = 0;
        ioctl(ends_[0], FIONREAD, &waiting);
        return waiting - filled_;
    }

private:
    int ends_[2] = {-1, -1};
    int filling_end_ = -1;
    int size_ = 0;
    int filled_ = 0;
    QByteArray text_;
};

} // namespace

class Output_order : public QObject {
    Q_OBJECT

private:
    Gate gate_;
    std::unique_ptr<Terminal> terminal_;

    Terminal& terminal() { return *terminal_; }

    /// Starts the daemon with one of its streams in a gate; from then on the controller is silent.
    /// Whether it has started.
    bool starts_with(Gate& gate, int stream)
    {
        terminal().daemon.redirect(stream, gate.writing_end());
        terminal().launch();
        const bool has_started = wait_for([&] {
            gate.drain();
            return terminal().log.lines().contains(
                QLatin1String("Switching power state: null=>on"));
        });
        terminal().controller.set_silent(true);
        return has_started;
    }

    /// Starts the daemon with its standard error in the gate, and shuts it. Nothing but what the
    /// test sends makes the daemon print.
    void start_with_errors_held()
    {
        QVERIFY(starts_with(gate_, STDERR_FILENO));
        terminal().settle();
        terminal().clear();
        gate_.close_but_for(0);
    }

    /// Sends messages in one write, and waits until standard output has told of the first: from
    /// then on the daemon waits for the gate.
    void send_and_wait_for_output(const QList<QByteArray>& messages, const QByteArray& text)
    {
        QByteArray bytes;
        for (const QByteArray& message : messages)
            bytes += Fake_controller::frame(QByteArray::fromHex(message));
        terminal().controller.send_bytes(bytes);
        QVERIFY2(wait_for([&] { return terminal().daemon.output().contains(text); }),
                 "no output: " + terminal().daemon.output());
    }

    /// Behind it every signal that was on the bus before has been seen.
    void let_signals_by()
    {
        for (int i = 0; i < 2; ++i) // the bus takes turns between its clients
            terminal().answer_to(QDBusMessage::createMethodCall(
                QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
                QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));
    }

    QByteArray seen_members() const
    {
        QByteArray members;
        for (const auto& signal : terminal_->seen_signals())
            members += signal.path.toUtf8() + ' ' + signal.member.toUtf8() + '\n';
        return members;
    }

private Q_SLOTS:
    void init() { terminal_ = std::make_unique<Terminal>(); }
    void cleanup()
    {
        gate_.drain();
        terminal_.reset();
        gate_.drain();
    }

    void signals_follow_the_text_data()
    {
        QTest::addColumn<QList<QByteArray>>("messages");
        QTest::addColumn<QByteArray>("printed");
        QTest::addColumn<QByteArray>("errors");
        QTest::addColumn<QByteArray>("members");
        QTest::newRow("digital input")
            << QList<QByteArray>{"1001"} << QByteArray("Got message 10\n")
            << QByteArray("Changed id=\x10 len=8\nUnChanged id=\x10 dio=1 val=0\n"
                          "UnChanged id=\x10 dio=2 val=0\nUnChanged id=\x10 dio=3 val=0\n")
            << QByteArray("device/io/input/digital/0 changed\n");
        QTest::newRow("within a line")
            << QList<QByteArray>{"1e0bb8"} << QByteArray("Got message 1e\n")
            << QByteArray("Updated val=3 Changed\n")
            << QByteArray("device/io/input/analog/0 val_changed\n");
        QTest::newRow("of several frames")
            << QList<QByteArray>{"1002", "1c01"} << QByteArray("Got message 10\n")
            << QByteArray("UnChanged id=\x10 dio=0 val=0\nChanged id=\x10 len=8\n"
                          "UnChanged id=\x10 dio=2 val=0\nUnChanged id=\x10 dio=3 val=0\n")
            << QByteArray("device/io/input/digital/1 changed\npower/button short_press\n");
    }
    void signals_follow_the_text()
    {
        QFETCH(const QList<QByteArray>, messages);
        QFETCH(const QByteArray, printed);
        QFETCH(const QByteArray, errors);
        QFETCH(const QByteArray, members);
        start_with_errors_held();
        send_and_wait_for_output(messages, printed);
        let_signals_by();
        QCOMPARE(seen_members(), QByteArray());
        gate_.drain();
        QVERIFY2(wait_for([&] { return seen_members() == members; }), seen_members());
        QVERIFY2(wait_for([&] { return gate_.drain().endsWith('.' + errors); }), gate_.drain());
    }

    void log_lines_follow_the_text()
    {
        start_with_errors_held();
        send_and_wait_for_output({"1000", "3e05"}, "Got message 10\n");
        terminal().log.settle();
        QCOMPARE(terminal().log.lines(), QStringList());
        gate_.drain();
        QVERIFY(wait_for([this] {
            terminal().log.settle();
            return terminal().log.lines() == QStringList{QStringLiteral("OEM code was set to 5")};
        }));
        QVERIFY2(wait_for([this] { return gate_.drain().contains("dio=3 val=0\n"); }),
                 gate_.drain());
    }

    /// There is room for the words before the answer and none for those behind it.
    void frames_follow_the_text()
    {
        const QByteArray before = "Src/Dest test failed 78:59 59:78\n8:33\nSet Digi 55+FFFF =>";
        const QByteArray behind = "55+FFFF\n";
        terminal().daemon.redirect(STDOUT_FILENO, gate_.writing_end());
        QVERIFY(QFile::link(terminal().controller.device(),
                            terminal().root.path(QStringLiteral("dev/ttyUSB1"))));
        terminal().controller.set_silent(true);
        terminal().daemon.start(terminal().root.path(), terminal().bus.address(),
                                {QStringLiteral("--simulate")});
        QVERIFY(wait_for([this] { return gate_.drain().endsWith("Simulate\n"); }));
        gate_.close_but_for(static_cast<int>(before.size()));
        QByteArray request = Fake_controller::frame(QByteArray::fromHex("330055"));
        request[2] = 0x78; // as the host sends them
        request[3] = 0x59;
        terminal().controller.send_bytes(request);
        QVERIFY(wait_for([this] { return terminal().controller.has_received("340055"); }));
        QCOMPARE(gate_.arrived(), before.size());
        // As soon as there is room, what is behind the answer follows.
        QVERIFY2(wait_for([&] { return gate_.drain().endsWith('.' + before + behind); }),
                 gate_.drain());
        terminal().daemon.signal(SIGKILL); // it has no end of its own
        QVERIFY(terminal().daemon.wait_for_end());
    }

    /// The first text of a scan is in a gate that holds no second one, which precedes the signal.
    void media_follow_their_texts()
    {
        Gate one_text(O_DIRECT);
        QVERIFY(starts_with(one_text, STDOUT_FILENO));
        const QString directory = terminal().root.path(QStringLiteral("elsewhere/"));
        QVERIFY(QDir().mkpath(directory + QStringLiteral("usb0")));
        QDBusMessage scan = QDBusMessage::createMethodCall(
            QStringLiteral("com.quorin.system"), QStringLiteral("/com/quorin/system/media"), {},
            QStringLiteral("media_changed"));
        scan.setArguments({directory});
        terminal().connection().send(scan);
        const QByteArray first = "Media changed " + directory.toUtf8() + '\n';
        // Before it those of the start and of a poll may come, which are of other lengths.
        const bool is_there = wait_for([&] {
            int size = 0;
            while ((size = one_text.arrived()) > 0 && size != first.size())
                one_text.take();
            return size == first.size();
        });
        QVERIFY2(is_there, one_text.drain());
        let_signals_by();
        QCOMPARE_LACKS(seen_members(), "media connection");
        QVERIFY2(wait_for([&] {
                     one_text.drain();
                     return seen_members().contains("media connection");
                 }),
                 seen_members());
        QCOMPARE_CONTAINS(one_text.drain(), first + "Added usb0\n");
    }
};

QTEST_GUILESS_MAIN(Output_order)
#include "output_order.moc"
