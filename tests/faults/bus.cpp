// Clients of the bus that ask for what nobody would.

#include "Terminal.h"

#include <QDBusConnectionInterface>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <QDir>
#include <QDomDocument>

#include <csignal>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

const QString service = QStringLiteral("com.quorin.system");
const QString voltage = QStringLiteral("device/operating_voltage");
const QString buzzer = QStringLiteral("device/buzzer");

/// A message of the bus's protocol, built by hand: little endian, a method call without arguments.
class Raw_call {
public:
    static QByteArray make(const char* destination, const char* path, const char* interface,
                           const char* member, quint32 serial)
    {
        QByteArray fields;
        add_field(fields, 1, 'o', path);
        add_field(fields, 6, 's', destination);
        add_field(fields, 2, 's', interface);
        add_field(fields, 3, 's', member);
        QByteArray message("l\1\0\1", 4);
        add_number(message, 0);
        add_number(message, serial);
        add_number(message, static_cast<quint32>(fields.size()));
        message += fields;
        pad(message, 8);
        return message;
    }

private:
    static void add_number(QByteArray& bytes, quint32 number)
    {
        for (int shift = 0; shift < 32; shift += 8)
            bytes += static_cast<char>(number >> shift);
    }

    static void pad(QByteArray& bytes, int to)
    {
        while (bytes.size() % to != 0)
            bytes += '\0';
    }

    static void add_field(QByteArray& fields, char code, char type, const char* text)
    {
        pad(fields, 8);
        fields += code;
        fields += '\1';
        fields += type;
        fields += '\0';
        add_number(fields, static_cast<quint32>(qstrlen(text)));
        fields += text;
        fields += '\0';
    }
};

/// A client that reads nothing but what it must to be let in.
class Deaf_client {
public:
    explicit Deaf_client(const Private_bus& bus)
        : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray path = QFile::encodeName(bus.directory() + QStringLiteral("/bus"));
        std::copy(path.begin(), path.end(), address.sun_path);
        if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            qFatal("no bus");
        const QByteArray user = QByteArray::number(getuid()).toHex();
        send(QByteArray("\0AUTH EXTERNAL ", 15) + user + "\r\n");
        char answer[256];
        (void)!::read(socket_, answer, sizeof answer);
        send("BEGIN\r\n");
        send(Raw_call::make("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                            "Hello", 1));
        (void)!::read(socket_, answer, sizeof answer);
        fcntl(socket_, F_SETFL, O_NONBLOCK);
    }
    ~Deaf_client() { ::close(socket_); }

    void send(const QByteArray& bytes)
    {
        int sent = 0;
        const bool done = wait_for([&] {
            const ssize_t count = ::write(socket_, bytes.constData() + sent,
                                          static_cast<std::size_t>(bytes.size() - sent));
            sent += static_cast<int>(std::max<ssize_t>(count, 0));
            return sent == bytes.size();
        });
        if (!done)
            qFatal("the bus does not take %d bytes", static_cast<int>(bytes.size()));
    }

private:
    int socket_;
};

} // namespace

class Bus : public QObject {
    Q_OBJECT

private:
    static QStringList descriptors(const Terminal& terminal)
    {
        return QDir(QStringLiteral("/proc/%1/fd").arg(terminal.daemon.pid()))
            .entryList(QDir::Files | QDir::System);
    }

    static QDBusMessage answer(Terminal& terminal, const QString& path, const QString& interface,
                               const QString& member, const QVariantList& values = {})
    {
        QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, member);
        call.setArguments(values);
        return terminal.answer_to(call);
    }

    /// Asks one object everything that each object of the bus can be asked; its children.
    static QStringList ask_all(Terminal& terminal, const QString& path)
    {
        const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");
        const QString peer = QStringLiteral("org.freedesktop.DBus.Peer");
        const auto is_answered = [](const QDBusMessage& reply) {
            return reply.type() == QDBusMessage::ReplyMessage ||
                   reply.errorName() != QLatin1String("org.freedesktop.DBus.Error.NoReply");
        };
        bool good = answer(terminal, path, peer, QStringLiteral("Ping")).type() ==
                    QDBusMessage::ReplyMessage;
        good = good && answer(terminal, path, peer, QStringLiteral("GetMachineId")).type() ==
                           QDBusMessage::ReplyMessage;
        for (const char* interface : {"", "nonsense", "com.quorin.system.version",
                                      "org.freedesktop.DBus.Properties", "a..b", "\xc3\xbc"})
            good = good && is_answered(answer(terminal, path, properties, QStringLiteral("GetAll"),
                                              {QString::fromUtf8(interface)}));
        good = good && is_answered(answer(terminal, path, properties, QStringLiteral("Set"),
                                          {QString(), QStringLiteral("x"), 1}));
        good = good && is_answered(answer(terminal, path,
                                          QStringLiteral("org.freedesktop.DBus.ObjectManager"),
                                          QStringLiteral("GetManagedObjects")));
        const QDBusMessage introspection =
            answer(terminal, path, QStringLiteral("org.freedesktop.DBus.Introspectable"),
                   QStringLiteral("Introspect"));
        if (!good || introspection.type() != QDBusMessage::ReplyMessage)
            report::give_up(path.toUtf8() + " does not answer");
        QDomDocument document;
        document.setContent(introspection.arguments().value(0).toString());
        QStringList children;
        for (QDomElement node =
                 document.documentElement().firstChildElement(QStringLiteral("node"));
             !node.isNull(); node = node.nextSiblingElement(QStringLiteral("node")))
            children += (path == QLatin1String("/") ? path : path + QLatin1Char('/')) +
                        node.attribute(QStringLiteral("name"));
        return children;
    }

private Q_SLOTS:
    void every_path_answers()
    {
        Terminal terminal;
        terminal.start();
        QStringList paths = {QStringLiteral("/")};
        for (int i = 0; i < paths.size(); ++i)
            paths += ask_all(terminal, paths[i]);
        QCOMPARE_CONTAINS(paths, QStringLiteral("/com/quorin/system/version/kernel"));
        QVERIFY(terminal.ends_cleanly());
    }

    void file_descriptors_are_refused_and_closed()
    {
        Terminal terminal;
        terminal.start();
        QVERIFY(terminal.serves());
        const auto before = descriptors(terminal).size();
        const QDBusUnixFileDescriptor file(STDIN_FILENO);
        for (int i = 0; i < 200; ++i) {
            const QDBusMessage reply =
                terminal.call(buzzer, QStringLiteral("set_buzzer_file"),
                              {QVariant::fromValue(file), QVariant::fromValue(file)});
            QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
        }
        QVERIFY(terminal.serves());
        QCOMPARE(descriptors(terminal).size(), before);
        QVERIFY(terminal.ends_cleanly());
    }

    /// About as much as the bus lets through.
    void arguments_of_31_megabytes()
    {
        constexpr int size = 31 * 1024 * 1024;
        Terminal terminal;
        terminal.start();
        const QString text(size, QLatin1Char('x'));
        terminal.call(buzzer, QStringLiteral("set_buzzer_file"), {text});
        QCOMPARE(terminal.get(buzzer, QStringLiteral("get_buzzer_file")).toString().size(), size);
        const QDBusMessage refused =
            terminal.call(buzzer, QStringLiteral("set_buzzer_file"), {QByteArray(size, 'x')});
        QCOMPARE(refused.type(), QDBusMessage::ErrorMessage);
        QVERIFY(terminal.serves());
        QVERIFY(terminal.ends_cleanly());
    }

    void calls_that_want_no_reply()
    {
        Terminal terminal;
        terminal.start();
        QDBusMessage call = QDBusMessage::createMethodCall(
            service, QStringLiteral("/com/quorin/system/") + voltage,
            terminal.interface_of(voltage), QStringLiteral("set_operating_voltage"));
        for (uint i = 1; i <= 1000; ++i) {
            call.setArguments({i});
            QVERIFY(terminal.connection().send(call));
        }
        QCOMPARE(terminal.get(voltage, QStringLiteral("get_operating_voltage")).toUInt(), 1000U);
        QVERIFY(terminal.ends_cleanly());
    }

    void variants_in_variants()
    {
        Terminal terminal;
        terminal.start();
        QVariant value = 1;
        for (int i = 0; i < 60; ++i)
            value = QVariant::fromValue(QDBusVariant(value));
        const QDBusMessage reply =
            terminal.call(voltage, QStringLiteral("set_operating_voltage"), {value});
        QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
        QVERIFY(terminal.serves());
        QVERIFY(terminal.ends_cleanly());
    }

    /// What every QObject has, what the daemon's own code calls, and signals.
    void members_that_are_no_methods()
    {
        Terminal terminal;
        terminal.start();
        const QString media = QStringLiteral("/com/quorin/system/media");
        for (const char* member : {"deleteLater", "destroyed", "objectNameChanged", "connection",
                                   "handle_message", "power_state_changed", "dump_interface"}) {
            for (const char* interface : {"com.quorin.system.media", "", "local.QObject"}) {
                for (const QVariantList& values :
                     {QVariantList{}, {media}, {media, true}, {QVariant(1)}}) {
                    const QDBusMessage reply = answer(terminal, media, QLatin1String(interface),
                                                      QLatin1String(member), values);
                    QVERIFY2(reply.type() == QDBusMessage::ErrorMessage, member);
                }
            }
        }
        QCOMPARE(
            terminal.call(QStringLiteral("media"), QStringLiteral("media_changed"), {media}).type(),
            QDBusMessage::ReplyMessage);
        QVERIFY(terminal.ends_cleanly());
    }

    /// As if they came from the bus, or from the daemon itself.
    void signals_nobody_asked_for()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        const QString bus = QStringLiteral("org.freedesktop.DBus");
        const QString owner = terminal.connection().interface()->serviceOwner(service).value();
        const QPair<const char*, QString> sources[] = {
            {"/org/freedesktop/DBus", bus},
            {"/com/quorin/system/media", QStringLiteral("com.quorin.system.media")}};
        for (const auto& [path, interface] : sources) {
            for (const char* member :
                 {"NameOwnerChanged", "NameLost", "NameAcquired", "connection", "media_changed"}) {
                for (const QVariantList& values : {QVariantList{},
                                                   {service},
                                                   {service, owner, QString()},
                                                   {bus, bus, QString()},
                                                   {QStringLiteral("/x/"), true}}) {
                    QDBusMessage signal = QDBusMessage::createTargetedSignal(
                        owner, QLatin1String(path), interface, QLatin1String(member));
                    signal.setArguments(values);
                    QVERIFY(terminal.connection().send(signal));
                }
            }
        }
        QCOMPARE_LACKS(terminal.output(), "Media changed");
        QVERIFY(terminal.serves());
        QVERIFY(terminal.ends_cleanly());
    }

    /// Some calls are behind the signal to quit, some before.
    void end_in_the_midst_of_calls()
    {
        for (const int before : {0, 30, 300, 1000}) {
            Terminal terminal;
            terminal.start();
            const QPair<const char*, QPair<const char*, QVariantList>> calls[] = {
                {"device/display/backlight", {"set_brightness", {50.0}}},
                {"device/display/backlight/power", {"resume", {}}},
                {"device/io/output/digital/0", {"on", {}}},
                {"device/io/input/analog/0", {"set_time_out", {130U}}},
                {"device/io/input/analog/0", {"handle_timeout", {}}},
                {"device/buzzer", {"set_buzzer_file", {QString(1000, QLatin1Char('x'))}}},
                {"media", {"media_changed", {QStringLiteral("/nowhere/")}}},
                {"atx", {"send_ack", {}}}};
            const auto call_all = [&](int count) {
                for (int i = 0; i < count; ++i) {
                    const auto& [path, method] =
                        calls[static_cast<std::size_t>(i) % std::size(calls)];
                    QDBusMessage call = QDBusMessage::createMethodCall(
                        service, QLatin1String("/com/quorin/system/") + QLatin1String(path),
                        terminal.interface_of(QLatin1String(path)), QLatin1String(method.first));
                    call.setArguments(method.second);
                    terminal.connection().send(call);
                }
            };
            call_all(before);
            terminal.daemon.signal(SIGTERM);
            call_all(1000);
            QVERIFY(terminal.daemon.wait_for_end());
            QCOMPARE(terminal.daemon.exit_status(), 0);
            QCOMPARE_ENDS(terminal.daemon.output(), "Quiting\nBUZ cleaning up\n");
        }
    }

    void client_that_reads_no_answers()
    {
        Terminal terminal;
        terminal.start();
        Deaf_client client(terminal.bus);
        QByteArray calls;
        for (quint32 i = 0; i < 10000; ++i)
            calls += Raw_call::make("com.quorin.system", "/com/quorin/system/version/kernel",
                                    "com.quorin.system.version", "get", i + 2);
        client.send(calls);
        QVERIFY(terminal.serves());
        QVERIFY(terminal.serves());
        QVERIFY(terminal.ends_cleanly());
    }

    void clients_that_leave_before_the_answer()
    {
        Terminal terminal;
        terminal.start();
        const QByteArray call =
            Raw_call::make("com.quorin.system", "/com/quorin/system/version/kernel",
                           "com.quorin.system.version", "get", 2);
        for (int i = 0; i < 1000; ++i)
            Deaf_client(terminal.bus).send(call);
        QVERIFY(terminal.serves());
        QVERIFY(terminal.ends_cleanly());
    }

    void two_hundred_clients_at_once()
    {
        Terminal terminal;
        terminal.start();
        std::vector<std::unique_ptr<Deaf_client>> clients;
        const QByteArray call =
            Raw_call::make("com.quorin.system", "/com/quorin/system/version/kernel",
                           "com.quorin.system.version", "get", 2);
        for (int i = 0; i < 200; ++i)
            clients.push_back(std::make_unique<Deaf_client>(terminal.bus));
        for (const auto& client : clients)
            client->send(call.repeated(100));
        QVERIFY(terminal.serves());
        QVERIFY(terminal.ends_cleanly());
    }
};

QTEST_GUILESS_MAIN(Bus)
#include "bus.moc"
