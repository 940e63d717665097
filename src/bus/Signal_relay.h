#pragma once

#include <QObject>
#include <QString>
#include <QVector>

#include <memory>

struct DBusMessage;
class QDBusAbstractAdaptor;

/// Sends an adaptor's signals to the bus, from the one path at which the adaptor is registered.
///
/// Takes the place of the relay that comes with an adaptor, which looks through every registered
/// path for the object anew at each signal, and builds each message from its parts. The adaptor's
/// signals stay ordinary Qt signals. So that messages cannot pile up without limit, a signal waits
/// for the bus when too many wait already.
///
/// Thread: main, with the bus in it (Main_thread_bus).
class Signal_relay : public QObject {
public:
    /// `adaptor`, registered already, is the only adaptor of its parent and outlives the relay.
    Signal_relay(QDBusAbstractAdaptor* adaptor, const QString& path);

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

    QByteArray path_;
    QByteArray interface_;

    QVector<Signal> signals_; ///< by index among the adaptor's methods; other methods are empty
};
