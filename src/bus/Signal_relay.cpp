#include "Signal_relay.h"

#include "Bus_connection.h"

#include <QDBusAbstractAdaptor>
#include <QMetaClassInfo>
#include <QMetaMethod>

#include <dbus/dbus.h>

namespace {

void append(DBusMessage* message, int type, const void* value)
{
    dbus_message_append_args(message, type, value, DBUS_TYPE_INVALID);
}

/// Appends an argument of a signal: `value` points at one of the QMetaType `type`.
void append_argument(DBusMessage* message, int type, const void* value)
{
    switch (type) {
    case QMetaType::Bool: {
        const dbus_bool_t flag = *static_cast<const bool*>(value) ? TRUE : FALSE;
        append(message, DBUS_TYPE_BOOLEAN, &flag);
        break;
    }
    case QMetaType::UChar:
        append(message, DBUS_TYPE_BYTE, value);
        break;
    case QMetaType::Int:
        append(message, DBUS_TYPE_INT32, value);
        break;
    case QMetaType::UInt:
        append(message, DBUS_TYPE_UINT32, value);
        break;
    case QMetaType::Double:
        append(message, DBUS_TYPE_DOUBLE, value);
        break;
    case QMetaType::QString: {
        const QByteArray utf8 = static_cast<const QString*>(value)->toUtf8();
        const char* const text = utf8.constData();
        append(message, DBUS_TYPE_STRING, &text);
        break;
    }
    default:
        qFatal("no argument of a signal: QMetaType %d", type);
    }
}

} // namespace

Signal_relay::Signal_relay(QDBusAbstractAdaptor* adaptor, const QString& path, Bus_connection& bus)
    : bus_(bus), path_(path.toUtf8())
{
    const QMetaObject* meta = adaptor->metaObject();
    interface_ = meta->classInfo(meta->indexOfClassInfo("D-Bus Interface")).value();
    signals_.resize(meta->methodCount());
    for (int i = QDBusAbstractAdaptor::staticMetaObject.methodCount(); i < signals_.size(); ++i) {
        if (meta->method(i).methodType() == QMetaMethod::Signal)
            connect_signal(adaptor, i);
    }
}

int Signal_relay::qt_metacall(QMetaObject::Call call, int id, void** arguments)
{
    const int index = QObject::qt_metacall(call, id, arguments);
    if (index < 0 || call != QMetaObject::InvokeMetaMethod)
        return index;
    Signal& signal = signals_[index];
    if (signal.message == nullptr)
        prepare(signal);
    DBusMessage* const message = dbus_message_copy(signal.message.get());
    for (int i = 0; i < signal.types.size(); ++i)
        append_argument(message, signal.types[i], arguments[i + 1]); // [0] is the result
    bus_.send(message);
    dbus_message_unref(message);
    return -1;
}

void Signal_relay::connect_signal(QDBusAbstractAdaptor* adaptor, int index)
{
    const QMetaMethod method = adaptor->metaObject()->method(index);
    Signal& signal = signals_[index];
    signal.name = method.name();
    for (int i = 0; i < method.parameterCount(); ++i)
        signal.types.append(method.parameterType(i));
    QMetaObject::connect(adaptor, index, this, QObject::staticMetaObject.methodCount() + index,
                         Qt::DirectConnection);
}

/// Done when the signal is first sent: most never are, and the start has to be quick.
void Signal_relay::prepare(Signal& signal) const
{
    signal.message.reset(
        dbus_message_new_signal(path_.constData(), interface_.constData(), signal.name.constData()),
        dbus_message_unref);
}
