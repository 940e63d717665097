#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVector>

class QDBusAbstractAdaptor;

/// Sends an adaptor's signals to the bus, from the one path at which the adaptor is registered.
///
/// Takes the place of the relay that comes with an adaptor, which looks through every registered
/// path for the object anew at each signal. The adaptor's signals stay ordinary Qt signals.
///
/// Signals leave by way of the bus connection's own thread. So that they cannot pile up there
/// without limit, every 1024th waits until the bus has taken those before it.
///
/// Thread: main.
class Signal_relay : public QObject {
public:
    /// `adaptor`, registered already, is the only adaptor of its parent and outlives the relay.
    Signal_relay(QDBusAbstractAdaptor* adaptor, const QString& path);

    /// Receives every signal of the adaptor; the ids past QObject's own are the signals' indexes.
    int qt_metacall(QMetaObject::Call call, int id, void** arguments) override;

private:
    struct Signal {
        QDBusMessage message; ///< sent again and again, each time with other arguments
        QVector<int> types;   ///< of its arguments, by QMetaType
    };

    void connect_signal(QDBusAbstractAdaptor* adaptor, int index, const QString& path,
                        const QString& interface);
    void send(Signal& signal, void** arguments);

    QDBusConnection bus_;
    QVector<Signal> signals_; ///< by index among the adaptor's methods; other methods are empty
};
