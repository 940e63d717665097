// The tap's forwarding: bytes, settings and hang-ups, from one end to the other.

#include "Line_tap.h"
#include "Tapped_line.h"
#include "Waiting.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTest>

#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace {

QByteArray random_bytes(quint32 seed, int count)
{
    QRandomGenerator random(seed);
    QByteArray bytes(count, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random.bounded(256));
    return bytes;
}

} // namespace

class Tap : public QObject {
    Q_OBJECT

    std::unique_ptr<Tapped_line> line_;
    std::unique_ptr<Line_clock> clock_;
    std::unique_ptr<Record_buffer> seen_;
    std::unique_ptr<Line_tap> tap_;

    /// What the tap has told since the last time: bytes by sender, and events in words.
    struct Told {
        QByteArray from_host;
        QByteArray from_controller;
        QStringList events;
        bool is_in_order = true;
    } told_;
    qint64 last_us_ = 0;

    void listen()
    {
        Record_batch batch;
        seen_->take(batch);
        for (std::size_t at = 0; at < batch.size(); ++at) {
            const Line_record record = batch[at];
            const bool is_host = record.sender == Sender::host;
            told_.is_in_order = told_.is_in_order && record.time_us >= last_us_;
            last_us_ = record.time_us;
            const QString sender = is_host ? QStringLiteral("host") : QStringLiteral("controller");
            if (record.kind == Line_record::Kind::bytes)
                (is_host ? told_.from_host : told_.from_controller)
                    .append(reinterpret_cast<const char*>(record.data), record.size);
            else if (record.kind == Line_record::Kind::hang_up)
                told_.events.append(sender + QStringLiteral(" hangs up"));
            else if (record.kind == Line_record::Kind::connection)
                told_.events.append(sender + QStringLiteral(" connects"));
        }
    }

    bool tells(const char* event)
    {
        listen();
        return told_.events.contains(QLatin1String(event));
    }

    void start()
    {
        QCOMPARE(tap_->open(line_->device(), line_->link()), QString());
        QCOMPARE(tap_->start(), QString());
    }

    /// Whether a few bytes pass, both ways.
    bool passes() const
    {
        line_->send_from_host("to the controller");
        line_->send_from_controller("to the host");
        return line_->controller_hears(17) == "to the controller" &&
               line_->host_hears(11) == "to the host";
    }

private Q_SLOTS:
    void init()
    {
        line_ = std::make_unique<Tapped_line>();
        clock_ = std::make_unique<Line_clock>();
        seen_ = std::make_unique<Record_buffer>(std::size_t{16} << 20);
        tap_ = std::make_unique<Line_tap>(*clock_, *seen_);
        told_ = {};
        last_us_ = 0;
    }

    void cleanup()
    {
        tap_.reset();
        line_.reset();
    }

    void every_byte_passes_both_ways_unchanged()
    {
        start();
        QVERIFY(line_->open_host());
        constexpr int count = 2000000;
        const QByteArray out = random_bytes(1, count);
        const QByteArray in = random_bytes(2, count);
        std::thread host_sends([&] { line_->send_from_host(out); });
        std::thread controller_sends([&] { line_->send_from_controller(in); });
        QByteArray host_heard;
        std::thread host_listens([&] { host_heard = line_->host_hears(count); });
        QByteArray controller_heard;
        constexpr int part = 100000;
        for (int at = 0; at < count; at += part) {
            controller_heard += line_->controller_hears(part);
            listen();
        }
        for (std::thread* each : {&host_sends, &controller_sends, &host_listens})
            each->join();
        QCOMPARE(static_cast<int>(controller_heard.size()), count);
        QCOMPARE(controller_heard, out);
        QCOMPARE(static_cast<int>(host_heard.size()), count);
        QCOMPARE(host_heard, in);
        WAIT_UNTIL(tap_->bytes_from(Sender::host), ==, quint64{count});
        WAIT_UNTIL(tap_->bytes_from(Sender::controller), ==, quint64{count});
        tap_->stop();
        listen();
        QCOMPARE(told_.from_host, out);
        QCOMPARE(told_.from_controller, in);
        QVERIFY(told_.is_in_order);
    }

    void bytes_before_the_host_has_set_anything_are_not_touched()
    {
        start();
        const int host = ::open(QFile::encodeName(line_->link()).constData(),
                                O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
        QVERIFY(host >= 0);
        line_->send_from_controller("\x03\r\n\x11\x13");
        WAIT_UNTIL(tap_->bytes_from(Sender::controller), ==, quint64{5});
        QVERIFY(line_->open_host()); // the line is the same
        QCOMPARE(line_->host_hears(5), QByteArray("\x03\r\n\x11\x13"));
        ::close(host);
        QVERIFY(passes()); // and nothing has come back to the controller
    }

    void settings_of_the_host_are_the_device_s()
    {
        start();
        QVERIFY(line_->open_host());
        for (const speed_t speed : {speed_t{B9600}, speed_t{B460800}, speed_t{B115200}}) {
            termios settings{};
            QCOMPARE(tcgetattr(line_->host(), &settings), 0);
            cfsetispeed(&settings, speed);
            cfsetospeed(&settings, speed);
            settings.c_cflag ^= CSTOPB;
            settings.c_iflag ^= IXON;
            const tcflag_t stop_bits = settings.c_cflag & CSTOPB;
            const tcflag_t flow = settings.c_iflag & IXON;
            QCOMPARE(tcsetattr(line_->host(), TCSANOW, &settings), 0);
            WAIT_UNTIL(cfgetospeed_of_device(), ==, speed);
            WAIT_UNTIL(line_->device_settings().c_cflag & CSTOPB, ==, stop_bits);
            WAIT_UNTIL(line_->device_settings().c_iflag & IXON, ==, flow);
            WAIT_UNTIL(tap_->speed(), ==, speed);
        }
    }

    void settings_are_followed_by_a_host_that_sets_all_flags()
    {
        start();
        QVERIFY(line_->open_host());
        for (const speed_t speed : {speed_t{B9600}, speed_t{B57600}}) {
            termios settings{}; // without EXTPROC
            cfmakeraw(&settings);
            settings.c_cflag = CS8 | CREAD | CLOCAL;
            cfsetispeed(&settings, speed);
            cfsetospeed(&settings, speed);
            QCOMPARE(tcsetattr(line_->host(), TCSANOW, &settings), 0);
            WAIT_UNTIL(cfgetospeed_of_device(), ==, speed);
        }
        QVERIFY(passes());
    }

    void the_host_finds_the_device_s_settings()
    {
        termios settings = line_->device_settings();
        cfsetispeed(&settings, B19200);
        cfsetospeed(&settings, B19200);
        QVERIFY(set_device(settings));
        start();
        QVERIFY(line_->open_host());
        QCOMPARE(tcgetattr(line_->host(), &settings), 0);
        QCOMPARE(cfgetospeed(&settings), speed_t{B19200});
    }

    void the_first_host_hears_what_came_before_it()
    {
        start();
        const QByteArray many = random_bytes(3, 5000);
        line_->send_from_controller(many);
        WAIT_UNTIL(tap_->bytes_from(Sender::controller), ==, quint64{5000});
        WAIT_UNTIL(tap_->unheard_bytes(), ==, quint64{5000 - Line_tap::most_held});
        // One that sets nothing, too.
        const int listener = ::open(QFile::encodeName(line_->link()).constData(),
                                    O_RDONLY | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
        QVERIFY(listener >= 0);
        QByteArray heard;
        const auto hears_all = [&] {
            char bytes[4096];
            const ssize_t count = ::read(listener, bytes, sizeof bytes);
            heard.append(bytes, static_cast<int>(std::max<ssize_t>(count, 0)));
            return heard.size() == static_cast<int>(Line_tap::most_held);
        };
        QVERIFY(wait_for([&] { return hears_all(); }));
        QCOMPARE(heard, many.right(static_cast<int>(Line_tap::most_held)));
        ::close(listener);
    }

    void without_a_host_the_device_s_bytes_are_dropped()
    {
        start();
        QVERIFY(line_->open_host());
        QVERIFY(passes());
        QVERIFY(wait_for([&] { return tells("host connects"); }));
        line_->send_from_controller("not read");
        WAIT_UNTIL(tap_->bytes_from(Sender::controller), ==, quint64{11 + 8});
        line_->close_host();
        QVERIFY(wait_for([&] { return tells("host hangs up"); }));
        line_->send_from_controller("nor this");
        WAIT_UNTIL(tap_->unheard_bytes(), ==, quint64{8});
        QVERIFY(line_->open_host());
        QVERIFY(passes());
    }

    void a_host_that_only_listens_hears()
    {
        start();
        QVERIFY(line_->open_host());
        QVERIFY(passes());
        line_->close_host();
        QVERIFY(wait_for([&] { return !tap_->has_host(); }));
        const int listener = ::open(QFile::encodeName(line_->link()).constData(),
                                    O_RDONLY | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
        QVERIFY(listener >= 0);
        line_->send_from_controller("heard");
        char bytes[16];
        ssize_t count = 0;
        QVERIFY(wait_for(
            [&] { return count > 0 || (count = ::read(listener, bytes, sizeof bytes)) > 0; }));
        QCOMPARE(QByteArray(bytes, static_cast<int>(count)), QByteArray("heard"));
        QVERIFY(tap_->has_host());
        ::close(listener);
    }

    void the_host_s_last_bytes_arrive()
    {
        start();
        for (int turn = 0; turn < 50; ++turn) {
            QVERIFY(line_->open_host());
            const QByteArray last = "last " + QByteArray::number(1000 + turn);
            line_->send_from_host(last);
            line_->close_host();
            QCOMPARE(line_->controller_hears(static_cast<int>(last.size())), last);
        }
    }

    void a_device_that_goes_hangs_up_on_the_host_and_comes_back_under_the_link()
    {
        start();
        for (int turn = 0; turn < 3; ++turn) {
            QVERIFY(wait_for([&] { return QFileInfo::exists(line_->link()); }));
            QVERIFY(line_->open_host());
            QVERIFY(passes());
            line_->pull_out();
            QVERIFY(wait_for([&] { return line_->host_is_hung_up(); }));
            char byte = 0;
            QVERIFY(::read(line_->host(), &byte, 1) <= 0);
            QVERIFY(wait_for([&] { return !QFileInfo(line_->link()).isSymLink(); }));
            QVERIFY(!tap_->has_device());
            line_->plug_in();
        }
        QVERIFY(wait_for([&] { return QFileInfo::exists(line_->link()); }));
        const QStringList turn = {
            QStringLiteral("controller connects"), QStringLiteral("host connects"),
            QStringLiteral("controller hangs up"), QStringLiteral("host hangs up")};
        const QStringList turns = turn + turn + turn + turn.mid(0, 1);
        // The link is there before the event is told.
        (void)wait_for([&] {
            listen();
            return told_.events.size() >= turns.size();
        });
        QCOMPARE(told_.events, turns);
    }

    void the_end_gives_everything_back()
    {
        termios before = line_->device_settings();
        cfsetispeed(&before, B19200);
        cfsetospeed(&before, B19200);
        QVERIFY(set_device(before));
        start();
        QVERIFY(line_->open_host());
        termios settings{};
        QCOMPARE(tcgetattr(line_->host(), &settings), 0);
        cfsetospeed(&settings, B9600);
        QCOMPARE(tcsetattr(line_->host(), TCSANOW, &settings), 0);
        WAIT_UNTIL(cfgetospeed_of_device(), ==, speed_t{B9600});
        tap_->stop();
        QVERIFY(line_->host_is_hung_up());
        QVERIFY(!QFileInfo(line_->link()).isSymLink());
        QCOMPARE(cfgetospeed_of_device(), speed_t{B19200});
    }

    void what_cannot_be_is_told()
    {
        QFile file(line_->path("file"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(tap_->open(QStringLiteral("/nowhere/device"), line_->link()),
                 QStringLiteral("/nowhere/device: No such file or directory"));
        tap_->stop();
        QCOMPARE(tap_->open(file.fileName(), line_->link()),
                 file.fileName() + QStringLiteral(": Inappropriate ioctl for device"));
        tap_->stop();
        QCOMPARE(tap_->open(line_->device(), line_->device()),
                 line_->device() + QStringLiteral(" is the device itself"));
        tap_->stop();
        QCOMPARE(tap_->open(line_->device(), file.fileName()), QString());
        QCOMPARE(tap_->start(), file.fileName() + QStringLiteral(" is there and no symbolic link"));
        tap_->stop();
        QCOMPARE(tap_->open(line_->device(), QStringLiteral("/nowhere/link")), QString());
        QCOMPARE(tap_->start(), QStringLiteral("/nowhere/link: No such file or directory"));
    }

private:
    speed_t cfgetospeed_of_device() const
    {
        const termios settings = line_->device_settings();
        return cfgetospeed(&settings);
    }

    bool set_device(const termios& settings) const
    {
        return tcsetattr(line_->controller(), TCSANOW, &settings) == 0;
    }
};

QTEST_GUILESS_MAIN(Tap)
#include "tap.moc"
