#pragma once

#include <QObject>
#include <QString>
#include <QVector>

#include <memory>

struct DBusMessage;
class Bus_connection;
class QDBusAbstractAdaptor;

/// Sends an adaptor's signals to the bus, from the one path at which the adaptor is registered.
///
/// Takes the place of the relay that comes with an adaptor, which looks through every registered
/// path for the object anew at each signal, and builds each message from its parts. The adaptor's
/// signals stay ordinary Qt signals. So that messages cannot pile up without limit, a signal waits
/// for the bus when too many wait already.
///
/// Thread: main.
class Signal_relay : public QObject {
public:
    /// `adaptor`, which is registered and has no relay any more, outlives this one, as `bus` does.
    Signal_relay(QDBusAbstractAdaptor* adaptor, const QString& path, Bus_connection& bus);

    /// Receives every signal of the adaptor; the ids past QObject's own are the signals' indexes.
    int qt_metacall(QMetaObject::Call call, int id, void** arguments) override;

private:
    struct Signal {
        QByteArray name;
        QVector<int> types;                   ///< of the arguments, by QMetaType
        std::shared_ptr<DBusMessage> message; ///< without arguments; copied for each sending
    };

    void connect_signal(QDBusAbstractAdaptor* adaptor, int index);
    void prepare(Signal& signal) const;

    Bus_connection& bus_;
    QByteArray path_;
    QByteArray interface_;

    QVector<Signal> signals_; ///< by index among the adaptor's methods; other methods are empty
};
