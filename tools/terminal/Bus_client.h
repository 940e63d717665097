#pragma once

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QObject>
#include <QSet>
#include <QVariant>

#include <functional>

/// The watcher's place on the bus: follows the service's owner and its signals, by match rules of
/// one interface each, and calls its methods without waiting. Starts no service.
class Bus_client : public QObject {
    Q_OBJECT
public:
    using Answer = std::function<void(const QVariant& value)>;
    using Failure = std::function<void(const QDBusError& error)>;

    /// The bus at the address; the machine's system bus when it is empty. The address is that of
    /// the system bus for the whole process from then on.
    explicit Bus_client(const QString& address);
    ~Bus_client() override;

    /// Connects, subscribes to the interfaces and asks for the owner. False with no bus there.
    bool open(const QSet<QString>& interfaces);

    /// Why open() failed.
    const QDBusError& error() const { return error_; }

    /// Calls a method. The answer is its one value, or a list of its values, and comes later, or
    /// the failure does; neither after the connection has been closed.
    void call(const QString& path, const QString& interface, const QString& method,
              const QVariantList& arguments, Answer answer, Failure failure);

    /// The same, and waits for it up to a second. Invalid for a failure.
    QVariant call_now(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments = {});

    void close();

Q_SIGNALS:
    /// The service has another owner; empty for none.
    void owner_changed(const QString& owner);
    /// The service had no owner when the connection was made.
    void owner_missing();
    void signal_received(const QDBusMessage& message);
    /// The bus has closed the connection.
    void bus_lost();

private Q_SLOTS:
    void take_signal(const QDBusMessage& message);
    void take_owner(const QString& name, const QString& old_owner, const QString& new_owner);
    void take_disconnection();

private:
    QDBusMessage method_call(const QString& path, const QString& interface, const QString& method,
                             const QVariantList& arguments) const;
    void report_owner(const QString& owner);

    QString name_;  ///< of the connection within this process; a new one each time
    QString owner_; ///< as last reported
    QDBusError error_;
    int opened_ = 0;
};
