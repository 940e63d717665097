#include "Signal_relay.h"

#include <QDBusAbstractAdaptor>
#include <QMetaClassInfo>
#include <QMetaMethod>

namespace {

constexpr uint signals_between_waits = 1024;
constexpr int bus_patience_ms = 5000;

/// Waits until the bus has taken everything that was sent to it.
void wait_for_bus(const QDBusConnection& bus)
{
    bus.call(QDBusMessage::createMethodCall(
                 QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                 QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping")),
             QDBus::Block, bus_patience_ms);
}

} // namespace

Signal_relay::Signal_relay(QDBusAbstractAdaptor* adaptor, const QString& path)
    : bus_(QDBusConnection::systemBus())
{
    for (QObject* sibling : adaptor->parent()->children())
        disconnect(adaptor, nullptr, sibling, nullptr); // the relay that comes with an adaptor

    const QMetaObject* meta = adaptor->metaObject();
    const QString interface =
        QString::fromLatin1(meta->classInfo(meta->indexOfClassInfo("D-Bus Interface")).value());
    signals_.resize(meta->methodCount());
    for (int i = QDBusAbstractAdaptor::staticMetaObject.methodCount(); i < signals_.size(); ++i) {
        if (meta->method(i).methodType() == QMetaMethod::Signal)
            connect_signal(adaptor, i, path, interface);
    }
}

int Signal_relay::qt_metacall(QMetaObject::Call call, int id, void** arguments)
{
    const int index = QObject::qt_metacall(call, id, arguments);
    if (index < 0 || call != QMetaObject::InvokeMetaMethod)
        return index;
    send(signals_[index], arguments);
    return -1;
}

void Signal_relay::connect_signal(QDBusAbstractAdaptor* adaptor, int index, const QString& path,
                                  const QString& interface)
{
    const QMetaMethod method = adaptor->metaObject()->method(index);
    Signal& signal = signals_[index];
    signal.message =
        QDBusMessage::createSignal(path, interface, QString::fromLatin1(method.name()));
    for (int i = 0; i < method.parameterCount(); ++i)
        signal.types.append(method.parameterType(i));
    QMetaObject::connect(adaptor, index, this, QObject::staticMetaObject.methodCount() + index,
                         Qt::DirectConnection);
}

void Signal_relay::send(Signal& signal, void** arguments)
{
    static uint sent = 0;
    QVariantList values;
    values.reserve(signal.types.size());
    for (int i = 0; i < signal.types.size(); ++i)
        values.append(QVariant(signal.types[i], arguments[i + 1])); // [0] is the result
    signal.message.setArguments(values);
    bus_.send(signal.message);
    if (++sent % signals_between_waits == 0)
        wait_for_bus(bus_);
}
