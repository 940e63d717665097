#include "Signal_relay.h"

#include "Bus_connection.h"

#include <QDBusAbstractAdaptor>

namespace {

class Signalling : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.plain")
public:
    explicit Signalling(QObject* parent) : QDBusAbstractAdaptor(parent) {}

Q_SIGNALS:
    void happened(bool yes, const QString& text);
};

} // namespace

class Signal_relay_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void signals_without_a_bus_are_dropped()
    {
        Bus_connection bus;
        QObject owner;
        Signalling adaptor(&owner);
        const Signal_relay relay(&adaptor, QStringLiteral("/com/quorin/system/p"), bus);
        for (int i = 0; i < 3000; ++i)
            Q_EMIT adaptor.happened(true, QStringLiteral("text"));
    }
};

QTEST_GUILESS_MAIN(Signal_relay_test)
#include "signal_relay.moc"
