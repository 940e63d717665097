// dov-panel's pages, as they are and as somebody may make them: what they are told, what they may
// ask for, and that none of them costs the others anything.

#include "Fake_tap.h"
#include "Panel_page.h"
#include "Panel_test.h"
#include "Waiting.h"

#include <QFile>
#include <QSemaphore>
#include <QThread>

namespace {

/// What the kernel keeps of a connection at most, between one that writes and one that does not
/// read.
qint64 most_in_kernel()
{
    qint64 most = 0;
    for (const char* name : {"/proc/sys/net/ipv4/tcp_rmem", "/proc/sys/net/ipv4/tcp_wmem"}) {
        QFile file(QString::fromLatin1(name));
        if (!file.open(QIODevice::ReadOnly))
            report::give_up(file.fileName().toUtf8());
        most += file.readAll().simplified().split(' ').last().toLongLong();
    }
    return most;
}

/// A page that opens, and then does not read until it is told to.
class Sleeping_page {
public:
    explicit Sleeping_page(const Panel_process& panel)
        : thread_(QThread::create([this, &panel] { run(panel); }))
    {
        thread_->start();
    }
    ~Sleeping_page()
    {
        wakes_.release();
        thread_->wait();
    }

    /// Waits until it sleeps.
    bool sleeps() { return asleep_.tryAcquire(1, patience_ms); }

    /// Has it wake, and waits until it knows of so many frames, as seen or as missing; how many are
    /// missing, or -1.
    int missing_of(int frames)
    {
        frames_ = frames;
        wakes_.release();
        thread_->wait();
        return missing_;
    }

private:
    void run(const Panel_process& panel)
    {
        Panel_page page(panel);
        if (!page.opens() || !page.watch(true).isEmpty())
            return;
        asleep_.release();
        wakes_.acquire();
        const auto known = [&page] {
            return static_cast<int>(page.frames().size()) + page.dropped();
        };
        if (wait_for([&] { return known() >= frames_ || !page.is_open(); }) && known() == frames_)
            missing_ = page.dropped();
    }

    QSemaphore asleep_;
    QSemaphore wakes_;
    int frames_ = 0;
    int missing_ = -1;
    std::unique_ptr<QThread> thread_;
};

} // namespace

class Pages : public Panel_test {
    Q_OBJECT

private Q_SLOTS:
    void greets_with_everything_that_there_is()
    {
        start();
        Panel_page page(panel());
        QVERIFY(page.opens());
        const QJsonObject hello = page.last(QStringLiteral("hello"));
        QCOMPARE(static_cast<int>(hello.value(QStringLiteral("objects")).toArray().size()), 74);
        QVERIFY(!hello.value(QStringLiteral("kinds")).toArray().isEmpty());
        QVERIFY(hello.value(QStringLiteral("methods"))
                    .toObject()
                    .contains(QStringLiteral("com.quorin.system.device.io.output.digital")));
        QCOMPARE(hello.value(QStringLiteral("history_s")).toInt(), 600);
        QCOMPARE(hello.value(QStringLiteral("control")).toBool(), false);
        QCOMPARE(hello.value(QStringLiteral("changing")).toBool(), false);
        QCOMPARE(page.partner(QStringLiteral("controller")), QStringLiteral("none"));
        QCOMPARE(page.partner(QStringLiteral("tap")), QStringLiteral("none"));
    }

    void nothing_changes_without_control()
    {
        start();
        QVERIFY(panel().token().isEmpty());
        Panel_page page(panel());
        QVERIFY(page.opens());
        QCOMPARE(page.take_token(""),
                 QStringLiteral("the panel has been started without --control"));
        QCOMPARE(page.bench(QStringLiteral("state")), QStringLiteral("changing is not allowed"));
        QCOMPARE(page.call(QStringLiteral("device/io/output/digital/0"), QStringLiteral("on"))
                     .value(QStringLiteral("error"))
                     .toString(),
                 QStringLiteral("changing is not allowed"));
    }

    void the_token_opens_one_page()
    {
        start({QStringLiteral("--control")});
        QCOMPARE(panel().token().size(), 32);
        Panel_page page(panel());
        Panel_page other(panel());
        QVERIFY(page.opens());
        QVERIFY(other.opens());
        QCOMPARE(page.last(QStringLiteral("hello")).value(QStringLiteral("control")).toBool(),
                 true);
        QCOMPARE(page.take_token(panel().token()), QString());
        QVERIFY(wait_for([&] {
            return page.last(QStringLiteral("hello")).value(QStringLiteral("changing")).toBool();
        }));
        QCOMPARE(page.bench(QStringLiteral("state")),
                 QStringLiteral("the panel has been started without --controller"));
        QCOMPARE(other.bench(QStringLiteral("state")), QStringLiteral("changing is not allowed"));
    }

    void who_guesses_is_closed()
    {
        start({QStringLiteral("--control")});
        Panel_page page(panel());
        QVERIFY(page.opens());
        QByteArray wrong = panel().token();
        wrong[31] = wrong[31] == '0' ? '1' : '0';
        for (int i = 0; i < 4; ++i)
            QCOMPARE(page.take_token(wrong), QStringLiteral("this is not the token"));
        (void)page.take_token(wrong);
        QCOMPARE(page.close_code(), 1008);
    }

    void malformed_messages_close_data()
    {
        QTest::addColumn<QByteArray>("text");
        const auto row = [](const char* text) {
            QTest::newRow(*text == '\0' ? "nothing" : text) << QByteArray(text).replace('\'', '"');
        };
        for (const char* text :
             {"", "x", "[]", "{}", "{", "'watch'", "null", "{'type':'nothing'}", "{'type':5}",
              "{'type':'watch'}", "{'type':'watch','frames':1}", "{'type':'token','token':5}",
              "{'type':'token'}", "{'type':'history','object':-1,'member':'x'}",
              "{'type':'history','object':0.5,'member':'x'}", "{'type':'history','object':0}",
              "{'type':'call','path':'','interface':'','method':'','arguments':{}}",
              "{'type':'bench','line':'state\\nquit'}", "{'type':'bench','id':'x','line':7}"})
            row(text);
    }

    void malformed_messages_close()
    {
        QFETCH(QByteArray, text);
        start();
        Panel_page page(panel());
        Panel_page other(panel());
        QVERIFY(page.opens());
        QVERIFY(other.opens());
        page.send(text);
        QCOMPARE(page.close_code(), 1008);
        QCOMPARE(other.watch(false), QString());
    }

    void malformed_requests_with_an_id_are_answered()
    {
        start();
        Panel_page page(panel());
        QVERIFY(page.opens());
        QCOMPARE(page.error_of({{QStringLiteral("type"), QStringLiteral("nothing")}}),
                 QStringLiteral("there is no such type"));
        QCOMPARE(page.error_of({{QStringLiteral("type"), QStringLiteral("watch")}}),
                 QStringLiteral("\"frames\" is not true or false"));
        QCOMPARE(page.error_of({{QStringLiteral("type"), QStringLiteral("bench")},
                                {QStringLiteral("line"), QStringLiteral("state\nquit")}}),
                 QStringLiteral("\"line\" is not one line"));
        QCOMPARE(page.error_of({{QStringLiteral("type"), QStringLiteral("history")},
                                {QStringLiteral("object"), 74},
                                {QStringLiteral("member"), QStringLiteral("is_on")}}),
                 QStringLiteral("there is no such value"));
    }

    void a_message_that_is_too_long_closes()
    {
        start();
        Panel_page page(panel());
        Panel_page other(panel());
        QVERIFY(page.opens());
        QVERIFY(other.opens());
        const QByteArray begin =
            QByteArray("{'type':'watch','frames':false,'more':'").replace('\'', '"');
        const int room = 64 * 1024 - static_cast<int>(begin.size()) - 2;
        page.send(begin + QByteArray(room, 'x') + "\"}");
        QCOMPARE(page.watch(false), QString());
        page.send(begin + QByteArray(room + 1, 'x') + "\"}");
        QCOMPARE(page.close_code(), 1009);
        QVERIFY(other.is_open());
    }

    void bytes_close()
    {
        start();
        Panel_page page(panel());
        QVERIFY(page.opens());
        page.send_bytes("{}");
        QCOMPARE(page.close_code(), 1008);
    }

    void as_many_pages_as_can_be()
    {
        start();
        std::vector<std::unique_ptr<Panel_page>> pages;
        for (int i = 0; i < 16; ++i) {
            pages.push_back(std::make_unique<Panel_page>(panel()));
            QVERIFY(pages.back()->opens());
        }
        Panel_page more(panel());
        QVERIFY(wait_for([&] { return !more.refusal().isEmpty(); }));
        QCOMPARE_CONTAINS(more.refusal(), "503");
        for (const auto& page : pages)
            QVERIFY(page->is_open());
        // A place is free as soon as one has been missed.
        pages.pop_back();
        QVERIFY(wait_for([&] {
            Panel_page page(panel());
            (void)wait_for([&] { return page.is_open() || !page.refusal().isEmpty(); });
            return page.is_open();
        }));
    }

    void one_that_floods_is_closed()
    {
        start({QStringLiteral("--control")});
        Panel_page page(panel());
        Panel_page other(panel());
        QVERIFY(page.opens());
        QVERIFY(other.opens());
        const QByteArray request = "{\"type\":\"token\",\"token\":\"" + panel().token() + "\"}";
        constexpr int at_once = 1000;
        const bool is_closed = wait_for([&] {
            for (int i = 0; i < at_once && page.is_open(); ++i)
                page.send(request);
            return !page.is_open();
        });
        // It may not hear why, for it does not stop to listen.
        QVERIFY(is_closed);
        QCOMPARE(other.watch(false), QString());
    }

    void one_that_does_not_read_misses_frames_and_costs_nobody_else_any()
    {
        Fake_tap tap;
        start({QStringLiteral("--tap"), tap.path()});
        Panel_page page(panel());
        QVERIFY(page.opens());
        QCOMPARE(page.watch(true), QString());
        QVERIFY(wait_for([&] { return tap.has_client(); }));
        Sleeping_page sleeper(panel());
        QVERIFY(sleeper.sleeps());
        // No frames at all, so that one is shown as large as it is.
        const QByteArray bytes(30000, 'x');
        constexpr qint64 queue = qint64{4} << 20;
        const int enough = static_cast<int>((most_in_kernel() + 2 * queue) / (2 * bytes.size()));
        const auto all_come = [&] {
            return wait_for([&] { return page.frames().size() == tap.passed(); });
        };
        constexpr int at_once = 16;
        while (tap.passed() < enough) {
            for (int i = 0; i < at_once; ++i)
                tap.pass(Sender::host, bytes);
            QVERIFY(all_come());
        }
        QCOMPARE(page.dropped(), 0);
        QCOMPARE_GT(sleeper.missing_of(tap.passed()), 0);
    }
};

QTEST_GUILESS_MAIN(Pages)
#include "pages.moc"
