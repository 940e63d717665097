// dov-controller's local socket: commands in, and what is printed out.

#include "Command_server.h"
#include "Controller_process.h"
#include "Waiting.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>

#include <sys/socket.h>
#include <unistd.h>

namespace {

/// Somebody at the socket.
class Client {
public:
    explicit Client(const QString& path)
    {
        QString error;
        // The first one may come before the program listens.
        (void)wait_for([&] {
            const int descriptor = Local_listener::connect_to(path, error);
            if (descriptor >= 0)
                connection_ = std::make_unique<Local_connection>(descriptor);
            return connection_ != nullptr;
        });
        if (connection_ == nullptr)
            qFatal("%s", qPrintable(error));
        QObject::connect(connection_.get(), &Local_connection::received,
                         [this](const QByteArray& bytes) { heard += bytes; });
    }

    void write(const QByteArray& text) { connection_->write(text); }

    /// Writes a line and waits for its answer; the lines of that.
    QList<QByteArray> ask(const QByteArray& line)
    {
        heard.clear();
        write(line + '\n');
        if (!wait_for([this] {
                return heard.endsWith("ok\n") ||
                       (heard.contains("error: ") && heard.endsWith('\n'));
            }))
            qWarning("no answer to %s", line.constData());
        return heard.trimmed().split('\n');
    }

    QJsonObject state() { return QJsonDocument::fromJson(ask("state json").constFirst()).object(); }

    bool is_open() const { return connection_->is_open(); }

    bool is_dropped()
    {
        return wait_for([this] { return !connection_->is_open(); });
    }

    QByteArray heard;

private:
    std::unique_ptr<Local_connection> connection_;
};

} // namespace

class Socket : public QObject {
    Q_OBJECT

    std::unique_ptr<Controller_process> controller_;

    Controller_process& controller() { return *controller_; }
    QString path() const { return controller_->path(QStringLiteral("socket")); }

    void start(const QStringList& more = {})
    {
        controller().start(QStringList{QStringLiteral("--socket"), path()} + more);
    }

private Q_SLOTS:
    void init() { controller_ = std::make_unique<Controller_process>(); }
    void cleanup() { controller_.reset(); }

    void a_line_is_answered_by_what_it_prints_and_ok()
    {
        start();
        Client client(path());
        QCOMPARE(client.ask("hardware 11"), (QList<QByteArray>{"ok"}));
        QVERIFY(controller().ask("11"));
        QCOMPARE(controller().host.messages(), (QVector<QByteArray>{"120b"}));
        const QList<QByteArray> state = client.ask("state");
        QCOMPARE_STARTS(state.constFirst(), "# ");
        QCOMPARE_CONTAINS(state, "hardware 11");
        QCOMPARE(state.constLast(), QByteArray("ok"));
        QCOMPARE(client.ask("   # nothing"), (QList<QByteArray>{"ok"}));
        // What one has asked for nobody else is told.
        QCOMPARE_LACKS(controller().output(), "hardware 11");
    }

    void errors_are_answered()
    {
        start();
        Client client(path());
        QCOMPARE(client.ask("bogus"),
                 (QList<QByteArray>{"error: column 1: there is no command \"bogus\""}));
        QCOMPARE(client.ask("hardware 300"),
                 (QList<QByteArray>{"error: column 10: \"300\" is not a revision from 0 to 255"}));
        QCOMPARE(client.ask("state yaml"),
                 (QList<QByteArray>{"error: column 7: \"yaml\" is not json"}));
        QCOMPARE_EMPTY(controller().errors());
    }

    void several_are_served_and_hear_of_the_line()
    {
        start();
        Client first(path());
        Client second(path());
        (void)first.ask("");
        (void)second.ask("");
        first.heard.clear();
        second.heard.clear();
        second.write("disconnect\nconnect\n");
        WAIT_UNTIL(controller().devices().size(), ==, 2);
        const QByteArray device = controller().devices().constLast().toLocal8Bit() + '\n';
        QVERIFY(wait_for([&] { return first.heard == device; }));
        QVERIFY(wait_for([&] { return second.heard == "ok\n" + device + "ok\n"; }));
    }

    void the_traffic_is_told_as_on_standard_output()
    {
        start({QStringLiteral("--verbose")});
        Client client(path());
        (void)client.ask("");
        client.heard.clear();
        QVERIFY(controller().ask("11"));
        QVERIFY(wait_for([&] { return client.heard.contains("# hardware version: "); }));
        QCOMPARE_CONTAINS(client.heard, "# hardware version request\n");
    }

    void a_line_that_is_too_long_costs_its_own_connection()
    {
        start();
        Client client(path());
        Client other(path());
        client.write(QByteArray(Command_server::most_line, 'x'));
        QCOMPARE_CONTAINS(other.ask(""), "ok");
        client.write("x");
        QVERIFY(client.is_dropped());
        QCOMPARE_CONTAINS(other.ask(""), "ok");
    }

    void more_than_it_takes_are_closed()
    {
        start();
        std::vector<std::unique_ptr<Client>> clients;
        for (std::size_t i = 0; i < Command_server::most_clients; ++i) {
            clients.push_back(std::make_unique<Client>(path()));
            (void)clients.back()->ask("");
        }
        Client one_more(path());
        QVERIFY(one_more.is_dropped());
        clients.pop_back();
        // Its place is free as soon as it has been missed.
        QVERIFY(wait_for([this] {
            Client again(path());
            again.write("\n");
            return wait_for([&] { return again.heard == "ok\n" || !again.is_open(); }) &&
                   again.heard == "ok\n";
        }));
    }

    void who_does_not_read_is_dropped()
    {
        start();
        QString error;
        int silent = -1;
        QVERIFY(
            wait_for([&] { return (silent = Local_listener::connect_to(path(), error)) >= 0; }));
        // More answers than sockets and server hold; the writes end when it has been dropped.
        const QByteArray line("state json\n");
        QVERIFY(wait_for([&] {
            return ::send(silent, line.constData(), static_cast<std::size_t>(line.size()),
                          MSG_NOSIGNAL | MSG_DONTWAIT) < 0 &&
                   errno == EPIPE;
        }));
        ::close(silent);
        Client other(path());
        QCOMPARE_CONTAINS(other.ask(""), "ok");
    }

    void the_state_is_one_line_of_json()
    {
        start({QStringLiteral("--input=analog 2500"), QStringLiteral("--digest=off")});
        Client client(path());
        QCOMPARE(client.ask("state json").size(), 2);
        const QJsonObject state = client.state();
        QCOMPARE(state.value(QStringLiteral("generation")).toString(), QStringLiteral("profile"));
        QCOMPARE(state.value(QStringLiteral("generations")).toArray().size(), 4);
        QCOMPARE(state.value(QStringLiteral("firmware")).toString(), QStringLiteral("2.1.7"));
        QCOMPARE(state.value(QStringLiteral("unique_id")).toString(),
                 QStringLiteral("001fa0ff010203"));
        QCOMPARE(state.value(QStringLiteral("device")).toString(),
                 controller().devices().constLast());
        const QJsonArray inputs = state.value(QStringLiteral("inputs")).toArray();
        QCOMPARE(static_cast<int>(inputs.size()), static_cast<int>(Input::count));
        const QJsonObject analog = inputs[Input::analog].toObject();
        QCOMPARE(analog.value(QStringLiteral("name")).toString(), QStringLiteral("analog"));
        QCOMPARE(analog.value(QStringLiteral("unit")).toString(), QStringLiteral("mV"));
        QCOMPARE(analog.value(QStringLiteral("most")).toInt(), 65535);
        QCOMPARE(analog.value(QStringLiteral("value")).toInt(), 2500);
        QCOMPARE(analog.value(QStringLiteral("waveform")).toObject(),
                 (QJsonObject{{QStringLiteral("shape"), QStringLiteral("constant")},
                              {QStringLiteral("low"), 2500},
                              {QStringLiteral("high"), 2500}}));
    }

    void every_command_shows_in_the_state_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<QByteArray>("expected"); // an object; its members are the state's
        const auto row = [](const char* command, const char* expected) {
            QTest::newRow(command) << QByteArray(command) << QByteArray(expected);
        };
        row("generation legacy", R"({"generation":"legacy","hardware":11,"firmware":"1.5.0"})");
        row("hardware 99", R"({"generation":null,"hardware":99})");
        row("unique-id 01020304050607", R"({"unique_id":"01020304050607"})");
        row("ignition off", R"({"ignition":false})");
        row("line15 4", R"({"line15":4})");
        row("button down", R"({"button_down":true})");
        row("backlight 10 20", R"({"backlight":[10,20]})");
        row("backlight-power off", R"({"backlight_power":false})");
        row("operating-voltage 3", R"({"operating_voltage":3})");
        row("frequency-output 700", R"({"frequency_output":700})");
        row("oem 12", R"({"oem":12})");
        row("configuration 3 4 10", R"({"configuration":[[3,4,10]]})");
        row("digest 250ms", R"({"digest_ms":250})");
        row("output 1 on", R"({"outputs":[{"on":false,"enabled":true},{"on":true,"enabled":true},
                               {"on":false,"enabled":true},{"on":false,"enabled":true}]})");
        row("disconnect", R"({"faults":{"disconnected":true}})");
        row("silence on", R"({"faults":{"silence":true}})");
        row("silence 10min", R"({"faults":{"silence":true}})");
        row("late 200ms", R"({"faults":{"late_ms":200}})");
        row("corrupt next 5", R"({"faults":{"corrupt_next":5}})");
        row("corrupt rate 12.5", R"({"faults":{"corrupt_percent":12.5}})");
        row("addresses 1 2", R"({"faults":{"addresses":[1,2]}})");
        row("split 4 30ms", R"({"faults":{"split_size":4,"split_gap_ms":30}})");
        row("double on", R"({"faults":{"double":true}})");
    }

    void every_command_shows_in_the_state()
    {
        QFETCH(QByteArray, command);
        QFETCH(QByteArray, expected);
        start({QStringLiteral("--digest=off")});
        Client client(path());
        QCOMPARE(client.ask(command).constLast(), QByteArray("ok"));
        const QJsonObject state = client.state();
        const QJsonObject members = QJsonDocument::fromJson(expected).object();
        QVERIFY(!members.isEmpty());
        for (auto member = members.begin(); member != members.end(); ++member) {
            const QJsonValue told = state.value(member.key());
            if (member.key() != QStringLiteral("faults")) {
                QCOMPARE(told, member.value());
                continue;
            }
            const QJsonObject faults = member.value().toObject();
            for (auto fault = faults.begin(); fault != faults.end(); ++fault)
                QCOMPARE(told.toObject().value(fault.key()), fault.value());
        }
    }

    void waveforms_are_told()
    {
        start();
        Client client(path());
        QCOMPARE(client.ask("input light random 1 9 3s 7").constLast(), QByteArray("ok"));
        const QJsonObject light = client.state()
                                      .value(QStringLiteral("inputs"))
                                      .toArray()[Input::light]
                                      .toObject()
                                      .value(QStringLiteral("waveform"))
                                      .toObject();
        QCOMPARE(light, (QJsonObject{{QStringLiteral("shape"), QStringLiteral("random")},
                                     {QStringLiteral("low"), 1},
                                     {QStringLiteral("high"), 9},
                                     {QStringLiteral("period_ms"), 3000},
                                     {QStringLiteral("seed"), 7}}));
    }

    void what_the_host_does_is_counted()
    {
        start({QStringLiteral("--digest=off")});
        Client client(path());
        QVERIFY(controller().ask("11"));
        const QJsonObject counters = client.state().value(QStringLiteral("counters")).toObject();
        QCOMPARE(counters, (QJsonObject{{QStringLiteral("commands"), 1},
                                        {QStringLiteral("sent_bytes"), 13},
                                        {QStringLiteral("ignored_bytes"), 0},
                                        {QStringLiteral("lost_bytes"), 0}}));
    }

    void the_path_is_gone_at_the_end()
    {
        start();
        (void)Client(path()).ask("");
        Client client(path());
        client.write("quit\n");
        QVERIFY(controller().wait_for_end());
        QVERIFY(!QFile::exists(path()));
    }

    void a_file_that_is_no_socket_is_left_alone()
    {
        controller().write_file(QStringLiteral("socket"), "precious");
        QVERIFY(controller().run({QStringLiteral("--socket"), path()}));
        QCOMPARE(controller().process.exitCode(), 1);
        QCOMPARE(controller().errors(),
                 "dov-controller: " + path().toLocal8Bit() + ": Address already in use\n");
        QCOMPARE(controller().read(QStringLiteral("socket")), QByteArray("precious"));
    }
};

QTEST_GUILESS_MAIN(Socket)
#include "socket.moc"
