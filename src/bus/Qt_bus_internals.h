#pragma once

struct DBusConnection;
class QDBusAbstractAdaptor;
class QDBusConnection;
class QObject;
class QVersionNumber;

/// What the daemon uses of QtDBus beyond its documentation, and how it is found. Bus_connection
/// says what it takes for granted of it, and does without where it is not so.
///
/// A version counts as known when the whole suite has passed with it. To add one, give it a row of
/// its own in the table of is_known() and in that of unit.bus_connection, build with it, run all
/// tests, and say so in docs/porting.md.
///
/// Thread: main.
class Qt_bus_internals {
public:
    Qt_bus_internals() = default;
    virtual ~Qt_bus_internals() = default;
    Qt_bus_internals(const Qt_bus_internals&) = delete;
    Qt_bus_internals& operator=(const Qt_bus_internals&) = delete;

    /// Whether it has been tried with this version of Qt.
    static bool is_known(const QVersionNumber& version);

    /// Whether it has been tried with the version that runs.
    virtual bool is_known() const;

    /// The object that reads and sends, in a thread of its own; null when it is not there.
    virtual QObject* connection_object(const QDBusConnection& bus) const;

    /// libdbus's connection, of the library that the daemon is linked with; null when it is not
    /// that.
    virtual DBusConnection* libdbus_connection(const QDBusConnection& bus) const;

    /// The object to which a registered adaptor's signals lead; null when it is not there.
    virtual QObject* relay_of(const QDBusAbstractAdaptor* adaptor) const;
};
