// Calls every method of the running daemon, from many connections at once, with arguments of the
// right and of the wrong types: every call comes back, a control question gets its answer in
// between, and the memory stays bounded.
//
//   fuzz.bus [CALLS [SEED [CONNECTIONS]]]

#include "Terminal.h"

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QDomDocument>
#include <QFile>
#include <QRandomGenerator>

#include <cmath>
#include <cstdio>
#include <limits>

namespace {

constexpr int default_calls = 2000;
constexpr int default_connections = 10;
constexpr int calls_in_flight = 200;
constexpr int calls_between_controls = 500;
constexpr qint64 memory_bound_kb = 64 * 1024;

struct Method {
    QString path;
    QString interface;
    QString name;
    QString types; ///< of what goes in
};

class Bus_fuzzer {
public:
    Bus_fuzzer(quint32 seed, int connections) : random_(seed)
    {
        terminal_.start();
        find_methods(QStringLiteral("/com/quorin/system"));
        for (int i = 0; i < connections; ++i)
            connections_.append(QDBusConnection::connectToBus(terminal_.bus.address(),
                                                              QStringLiteral("%1").arg(i)));
    }

    bool run(int calls)
    {
        const qint64 before = memory_kb();
        bool good = !methods_.isEmpty();
        while (good && (made_ < calls || in_flight_ > 0)) {
            while (made_ < calls && in_flight_ < calls_in_flight)
                make_call();
            const int seen = came_back_;
            good = wait_for([&] { return came_back_ > seen; }) && terminal_.daemon.is_running();
            if (good && came_back_ / calls_between_controls > seen / calls_between_controls)
                good = control_is_right();
        }
        terminal_.settle();
        const qint64 after = memory_kb();
        std::printf("%d calls of %d methods on %d connections, %d refused; %lld kB, then %lld kB\n",
                    came_back_, static_cast<int>(methods_.size()),
                    static_cast<int>(connections_.size()), refused_, before, after);
        return good && after - before < memory_bound_kb;
    }

private:
    void find_methods(const QString& path)
    {
        const QDBusMessage reply = terminal_.answer_to(QDBusMessage::createMethodCall(
            service(), path, QStringLiteral("org.freedesktop.DBus.Introspectable"),
            QStringLiteral("Introspect")));
        QDomDocument document;
        document.setContent(reply.arguments().value(0).toString());
        const QDomNodeList found = document.elementsByTagName(QStringLiteral("method"));
        for (int i = 0; i < found.size(); ++i)
            methods_.append(read_method(path, found.at(i).toElement()));
        const QDomNodeList nodes = document.documentElement().childNodes();
        for (int i = 0; i < nodes.size(); ++i) {
            if (nodes.at(i).nodeName() == QLatin1String("node"))
                find_methods(path + QLatin1Char('/') +
                             nodes.at(i).toElement().attribute(QStringLiteral("name")));
        }
    }

    static Method read_method(const QString& path, const QDomElement& element)
    {
        Method method = {path, element.parentNode().toElement().attribute(QStringLiteral("name")),
                         element.attribute(QStringLiteral("name")), QString()};
        const QDomNodeList arguments = element.elementsByTagName(QStringLiteral("arg"));
        for (int i = 0; i < arguments.size(); ++i) {
            const QDomElement argument = arguments.at(i).toElement();
            if (argument.attribute(QStringLiteral("direction")) == QLatin1String("in"))
                method.types += argument.attribute(QStringLiteral("type"));
        }
        return method;
    }

    static QString service() { return QStringLiteral("com.quorin.system"); }

    int below(int limit) { return static_cast<int>(random_.bounded(limit)); }

    double any_double()
    {
        using Limits = std::numeric_limits<double>;
        const double edges[] = {0,
                                -0.0,
                                1,
                                -1,
                                100,
                                100.05,
                                1e300,
                                -1e300,
                                Limits::quiet_NaN(),
                                Limits::infinity(),
                                -Limits::infinity(),
                                Limits::denorm_min(),
                                Limits::max(),
                                random_.generateDouble() * 200 - 50};
        return edges[below(std::size(edges))];
    }

    uint any_uint()
    {
        const uint edges[] = {0,     1,     129,        130,        255,        256,
                              65535, 65536, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, random_.generate()};
        return edges[below(std::size(edges))];
    }

    QString any_string()
    {
        switch (below(100)) {
        case 0:
            return QString(1024 * 1024, QLatin1Char('x'));
        case 1:
            return QStringLiteral("%s%n\n\t\u00e9\u20ac");
        case 2:
            return QStringLiteral("/media/");
        default:
            return QString(below(20), QLatin1Char('y'));
        }
    }

    QVariant any_value(QChar type)
    {
        switch (type.toLatin1()) {
        case 'b':
            return below(2) == 1;
        case 'd':
            return any_double();
        case 'u':
            return any_uint();
        case 'i':
            return static_cast<int>(any_uint());
        case 'y':
            return QVariant::fromValue(static_cast<uchar>(any_uint()));
        default:
            return any_string();
        }
    }

    QVariantList any_arguments(QString types)
    {
        const int fault = below(20);
        if (fault == 0)
            types += QLatin1Char('s');
        if (fault == 1)
            types.chop(1);
        QVariantList values;
        for (const QChar type : types) {
            const QChar chosen = fault == 2 ? QLatin1String("bduiys").at(below(6)) : type;
            values.append(any_value(chosen));
        }
        return values;
    }

    void make_call()
    {
        Method method = methods_[below(static_cast<int>(methods_.size()))];
        if (below(50) == 0)
            method.name += QLatin1Char('x');
        if (below(50) == 0)
            method.path += QStringLiteral("/none");
        QDBusMessage message =
            QDBusMessage::createMethodCall(service(), method.path, method.interface, method.name);
        message.setArguments(any_arguments(method.types));
        auto& connection = connections_[below(static_cast<int>(connections_.size()))];
        auto* watcher =
            new QDBusPendingCallWatcher(connection.asyncCall(message, patience_ms), &terminal_);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished,
                         [this](QDBusPendingCallWatcher* call) {
                             refused_ += call->isError();
                             ++came_back_;
                             --in_flight_;
                             call->deleteLater();
                         });
        ++made_;
        ++in_flight_;
    }

    bool control_is_right()
    {
        terminal_.daemon.clear_texts();
        terminal_.controller.clear();
        terminal_.log.clear();
        return terminal_.get(QStringLiteral("version/serial_number"), QStringLiteral("get")) ==
               QVariant(QStringLiteral("1234\n"));
    }

    qint64 memory_kb() const
    {
        QFile file(QStringLiteral("/proc/%1/statm").arg(terminal_.daemon.pid()));
        return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toLongLong() * 4
                                              : 0;
    }

    QRandomGenerator random_;
    Terminal terminal_;
    QList<QDBusConnection> connections_;
    QVector<Method> methods_;
    int made_ = 0;
    int in_flight_ = 0;
    int came_back_ = 0;
    int refused_ = 0;
};

} // namespace

int main(int count, char** arguments)
{
    const QCoreApplication application(count, arguments);
    const QStringList words = QCoreApplication::arguments();
    const auto number = [&words](int at, int otherwise) {
        return words.size() > at ? words[at].toInt() : otherwise;
    };
    Bus_fuzzer fuzzer(static_cast<quint32>(number(2, 1)), number(3, default_connections));
    return fuzzer.run(number(1, default_calls)) ? 0 : 1;
}
