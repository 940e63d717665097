#include "Qt_bus_internals.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QLibraryInfo>
#include <QVersionNumber>

#include <algorithm>
#include <iterator>

#include <dbus/dbus.h>

namespace {

struct Version_range {
    QVersionNumber first;
    QVersionNumber behind_last;
};

} // namespace

bool Qt_bus_internals::is_known(const QVersionNumber& version)
{
    // Each has passed the whole suite.
    const Version_range known[] = {{QVersionNumber(5, 15), QVersionNumber(6, 0)},
                                   {QVersionNumber(6, 4), QVersionNumber(6, 5)},
                                   {QVersionNumber(6, 8), QVersionNumber(6, 9)}};
    return std::any_of(std::begin(known), std::end(known), [&](const Version_range& range) {
        return version >= range.first && version < range.behind_last;
    });
}

bool Qt_bus_internals::is_known() const
{
    return is_known(QLibraryInfo::version());
}

QObject* Qt_bus_internals::connection_object(const QDBusConnection& bus) const
{
    const QDBusConnectionInterface* interface = bus.interface();
    QObject* const parent = interface == nullptr ? nullptr : interface->parent();
    return parent != nullptr && parent->inherits("QDBusConnectionPrivate") ? parent : nullptr;
}

DBusConnection* Qt_bus_internals::libdbus_connection(const QDBusConnection& bus) const
{
    auto* const connection = static_cast<DBusConnection*>(bus.internalPointer());
    // Another copy of the library knows nothing of a name.
    const char* const name = connection == nullptr ? nullptr : dbus_bus_get_unique_name(connection);
    return name != nullptr && bus.baseService() == QLatin1String(name) ? connection : nullptr;
}

QObject* Qt_bus_internals::relay_of(const QDBusAbstractAdaptor* adaptor) const
{
    for (QObject* sibling : adaptor->parent()->children()) {
        if (sibling->inherits("QDBusAdaptorConnector"))
            return sibling;
    }
    return nullptr;
}
