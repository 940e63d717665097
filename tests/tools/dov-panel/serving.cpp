// dov-panel as browsers and others meet it: what it serves, to whom, and what it refuses.

#include "Fake_tap.h"
#include "Panel_page.h"
#include "Panel_test.h"
#include "Waiting.h"

#include <QDir>
#include <QFile>
#include <QTcpSocket>
#include <QTemporaryDir>

namespace {

/// An answer of the panel's.
struct Reply {
    int status = 0;
    QByteArray header;
    QByteArray body;
};

} // namespace

class Serving : public Panel_test {
    Q_OBJECT

    QByteArray host() { return "127.0.0.1:" + QByteArray::number(panel().port()); }

    /// What a request is answered with; the panel ends the connection.
    Reply reply_to(const QByteArray& request)
    {
        QTcpSocket socket;
        socket.connectToHost(QStringLiteral("127.0.0.1"), static_cast<quint16>(panel().port()));
        socket.write(request);
        (void)wait_for([&] { return socket.state() == QAbstractSocket::UnconnectedState; });
        const QByteArray all = socket.readAll();
        const auto end = all.indexOf("\r\n\r\n");
        return {all.mid(9, 3).toInt(), all.left(end).toLower(), all.mid(end + 4)};
    }

    Reply reply_to(const QByteArray& method, const QByteArray& path, const QByteArray& host_name,
                   const QByteArray& more = {})
    {
        return reply_to(method + ' ' + path + " HTTP/1.1\r\nHost: " + host_name +
                        "\r\nConnection: close\r\n" + more + "\r\n");
    }

    Reply get(const QByteArray& path) { return reply_to("GET", path, host()); }

    /// The status by which an opening of a WebSocket is refused.
    int refusal_of(const QByteArray& path, const QByteArray& host_name, const QByteArray& more)
    {
        return reply_to("GET " + path + " HTTP/1.1\r\nHost: " + host_name +
                        "\r\nConnection: Upgrade, close\r\nUpgrade: websocket\r\n"
                        "Sec-WebSocket-Version: 13\r\n"
                        "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
                        more + "\r\n")
            .status;
    }

private Q_SLOTS:
    void serves_the_files_of_the_page()
    {
        start();
        const QDir page(QStringLiteral(DOV_PANEL_PAGE));
        const QStringList names = page.entryList({QStringLiteral("*.html"), QStringLiteral("*.css"),
                                                  QStringLiteral("*.js"), QStringLiteral("*.svg")});
        QVERIFY(names.contains(QStringLiteral("index.html")));
        for (const QString& name : names) {
            QFile file(page.filePath(name));
            QVERIFY(file.open(QIODevice::ReadOnly));
            const Reply reply = get('/' + name.toLatin1());
            QCOMPARE(reply.status, 200);
            QCOMPARE(reply.body, file.readAll());
        }
        QFile index(page.filePath(QStringLiteral("index.html")));
        QVERIFY(index.open(QIODevice::ReadOnly));
        QCOMPARE(get("/").body, index.readAll());
        QCOMPARE_CONTAINS(get("/").header, "content-type: text/html; charset=utf-8");
    }

    void a_directory_can_take_the_place_of_the_page()
    {
        const QTemporaryDir directory;
        QFile file(directory.filePath(QStringLiteral("index.html")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("first");
        file.flush();
        start({QStringLiteral("--page"), directory.path()});
        QCOMPARE(get("/").body, QByteArray("first"));
        file.write(" and second");
        file.flush();
        QCOMPARE(get("/").body, QByteArray("first and second"));
        QCOMPARE(get("/panel.js").status, 404);
    }

    void every_answer_says_what_a_page_may_do_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::newRow("page") << QByteArray("/");
        QTest::newRow("recording") << QByteArray("/recording");
        QTest::newRow("nothing") << QByteArray("/nothing");
    }

    void every_answer_says_what_a_page_may_do()
    {
        QFETCH(QByteArray, path);
        start();
        const QByteArray header = get(path).header + "\r\n";
        QCOMPARE_CONTAINS(
            header, "\r\ncontent-security-policy: default-src 'none'; script-src 'self'; style-src "
                    "'self'; img-src 'self' data: blob:; connect-src 'self'; base-uri 'none'; "
                    "form-action 'none'; frame-ancestors 'none'\r\n");
        QCOMPARE_CONTAINS(header, "\r\nx-content-type-options: nosniff\r\n");
        QCOMPARE_CONTAINS(header, "\r\nreferrer-policy: no-referrer\r\n");
        QCOMPARE_CONTAINS(header, "\r\ncache-control: no-cache\r\n");
        QCOMPARE_CONTAINS(header, "\r\ncross-origin-resource-policy: same-origin\r\n");
        QVERIFY2(!header.contains("access-control-"), header.constData());
    }

    void head_has_no_body()
    {
        start();
        const Reply reply = reply_to("HEAD", "/", host());
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.body, QByteArray());
        QCOMPARE_CONTAINS(reply.header,
                          "content-length: " + QByteArray::number(get("/").body.size()));
    }

    void everything_else_is_not_there_data()
    {
        QTest::addColumn<QByteArray>("path");
        for (const char* path : {"/nothing", "/panel.js/", "/.hidden.js", "/../Panel.cpp",
                                 "/%2e%2e/Panel.js", "/..%2fPanel.js", "/live", "/page/index.html",
                                 "/interfaces/com.quorin.system.atx.xml"})
            QTest::newRow(path) << QByteArray(path);
    }

    void everything_else_is_not_there()
    {
        QFETCH(QByteArray, path);
        start();
        const int status = get(path).status;
        QVERIFY2(status == 404 || status == 403, QByteArray::number(status).constData());
    }

    void other_methods_are_refused_data()
    {
        QTest::addColumn<QByteArray>("method");
        for (const char* method : {"POST", "PUT", "DELETE", "PATCH", "OPTIONS"})
            QTest::newRow(method) << QByteArray(method);
    }

    void other_methods_are_refused()
    {
        QFETCH(QByteArray, method);
        start();
        const Reply reply = reply_to(method, "/", host(), "Content-Length: 0\r\n");
        QCOMPARE(reply.status, 405);
        QCOMPARE_CONTAINS(reply.header, "allow: get, head");
    }

    void only_its_own_names_are_answered_data()
    {
        QTest::addColumn<QByteArray>("name"); // %: its port
        QTest::addColumn<int>("status");
        const auto row = [](const char* name, int status) {
            QTest::newRow(name) << QByteArray(name) << status;
        };
        row("127.0.0.1:%", 200);
        row("localhost:%", 200);
        row("LocalHost:%", 200);
        row("[::1]:%", 200);
        row("127.0.0.1", 403);
        row("localhost:1", 403);
        row("evil.example:%", 403);
        row("127.0.0.1.evil.example:%", 403);
        row("localhost:%.evil.example", 403);
        row("", 403);
    }

    void only_its_own_names_are_answered()
    {
        QFETCH(QByteArray, name);
        QFETCH(int, status);
        start();
        name.replace("%", QByteArray::number(panel().port()));
        QCOMPARE(reply_to("GET", "/", name).status, status);
        QCOMPARE(reply_to("GET", "/recording", name).status, status);
        if (status == 403)
            QCOMPARE(refusal_of("/live", name,
                                "Origin: http://" + name +
                                    "\r\nSec-WebSocket-Protocol: dov-panel.1\r\n"),
                     403);
    }

    void only_pages_of_its_own_may_listen_data()
    {
        QTest::addColumn<QByteArray>("origin"); // %: its port
        for (const char* origin :
             {"", "Origin: null\r\n", "Origin: http://evil.example\r\n",
              "Origin: http://127.0.0.1:1\r\n", "Origin: https://127.0.0.1:%\r\n",
              "Origin: http://localhost:%\r\n", "Origin: http://127.0.0.1:%.evil.example\r\n",
              "Origin: 127.0.0.1:%\r\n", "Origin: file://\r\n"})
            QTest::newRow(*origin == '\0' ? "none" : origin) << QByteArray(origin);
    }

    void only_pages_of_its_own_may_listen()
    {
        QFETCH(QByteArray, origin);
        start();
        origin.replace("%", QByteArray::number(panel().port()));
        QCOMPARE(refusal_of("/live", host(), origin + "Sec-WebSocket-Protocol: dov-panel.1\r\n"),
                 403);
    }

    void live_is_one_path_and_one_protocol()
    {
        start();
        const QByteArray origin = "Origin: " + panel().origin() + "\r\n";
        QCOMPARE(refusal_of("/", host(), origin + "Sec-WebSocket-Protocol: dov-panel.1\r\n"), 404);
        QCOMPARE(refusal_of("/live", host(), origin + "Sec-WebSocket-Protocol: other\r\n"), 404);
        QCOMPARE(refusal_of("/live", host(), origin), 404);
    }

    void a_recording_keeps_nobody_waiting()
    {
        Fake_tap tap;
        start({QStringLiteral("--tap"), tap.path()});
        Panel_page page(panel());
        QVERIFY(page.opens());
        QCOMPARE(page.watch(true), QString());
        QVERIFY(wait_for([&] { return tap.has_client(); }));
        // As much as is remembered: twice as much in text as the kernel keeps for one that takes
        // nothing.
        constexpr int records = 130;
        constexpr int at_once = 10;
        while (tap.passed() < records) {
            for (int i = 0; i < at_once; ++i)
                tap.pass(Sender::host, QByteArray(30000, 'x'));
            QVERIFY(wait_for([&] { return page.frames().size() == tap.passed(); }));
        }
        std::vector<std::unique_ptr<QTcpSocket>> savers;
        for (int i = 0; i < 4; ++i) {
            savers.push_back(std::make_unique<QTcpSocket>());
            QTcpSocket& saver = *savers.back();
            saver.setReadBufferSize(1);
            saver.connectToHost(QStringLiteral("127.0.0.1"), static_cast<quint16>(panel().port()));
            saver.write("GET /recording HTTP/1.1\r\nHost: " + host() + "\r\n\r\n");
            QVERIFY(wait_for([&] { return saver.bytesAvailable() > 0; }));
        }
        QCOMPARE(get("/recording").status, 503);
        QCOMPARE(get("/").status, 200);
        QCOMPARE(page.watch(false), QString());
        for (const auto& saver : savers) {
            saver->setReadBufferSize(0);
            QVERIFY(wait_for([&] { return saver->state() == QAbstractSocket::UnconnectedState; }));
            const QByteArray text = saver->readAll();
            QVERIFY(text.startsWith("HTTP/1.1 200 "));
            QVERIFY(text.endsWith('\n'));
            QCOMPARE(static_cast<int>(text.count(" host ")), records);
        }
        QCOMPARE(get("/recording").status, 200);
    }

    void a_token_is_kept_in_a_file()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath(QStringLiteral("token"));
        const QStringList options = {QStringLiteral("--control"), QStringLiteral("--token-file"),
                                     path};
        start(options);
        const QByteArray token = panel().token();
        QFile file(path);
        constexpr auto others = QFileDevice::ReadGroup | QFileDevice::ReadOther;
        QVERIFY((file.permissions() & others) == 0);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), token + '\n');
        QVERIFY(panel().ends_cleanly());
        replace_panel();
        start(options);
        QCOMPARE(panel().token(), token);
    }

    void ends_by_a_signal_with_pages_open()
    {
        start();
        Panel_page page(panel());
        QVERIFY(page.opens());
        QVERIFY(panel().ends_cleanly());
        (void)page.close_code();
        QVERIFY(!page.is_open());
        QCOMPARE(panel().errors(), QByteArray());
    }

    void wrong_usage_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("error");
        const auto row = [](const char* arguments, int status, const char* error) {
            QTest::newRow(arguments)
                << QString::fromLatin1(arguments).split(QLatin1Char(' ')) << status
                << QByteArray("dov-panel: ").append(error).append('\n');
        };
        row("--bogus", 2, "Unknown option 'bogus'.");
        row("--listen=0.0.0.0:8037", 2,
            "--listen: \"0.0.0.0\" is not an address of the loopback interface");
        row("--listen=192.168.1.1:80", 2,
            "--listen: \"192.168.1.1\" is not an address of the loopback interface");
        row("--listen=[::]:80", 2, "--listen: \"::\" is not an address of the loopback interface");
        row("--listen=8037", 2, "--listen: \"8037\" is not ADDRESS:PORT");
        row("--listen=127.0.0.1:65536", 2, "--listen: \"127.0.0.1:65536\" is not ADDRESS:PORT");
        row("--interval=0", 2, "--interval takes milliseconds from 50 to 3600000");
        row("--token-file=x", 2, "--token-file is for --control");
        row("--control --token-file=/nowhere/x", 1, "/nowhere/x: No such file or directory");
    }

    void wrong_usage()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QByteArray, error);
        QVERIFY(panel().run(arguments));
        QCOMPARE(panel().exit_code(), status);
        QCOMPARE(panel().errors(), error);
        QCOMPARE(panel().output(), QByteArray());
    }

    void a_port_that_is_taken_is_told()
    {
        start();
        Panel_process second;
        const QString where = QStringLiteral("127.0.0.1:%1").arg(panel().port());
        QVERIFY(second.run({QStringLiteral("--listen"), where}));
        QCOMPARE(second.exit_code(), 1);
        QCOMPARE(second.errors(), "dov-panel: " + where.toLatin1() + ": Address already in use\n");
    }
};

QTEST_GUILESS_MAIN(Serving)
#include "serving.moc"
