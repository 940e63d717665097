#pragma once

#include <QByteArray>
#include <QVector>

class DBus_daemon;

/// Creates every object of the bus, in order, and lets the daemon's device objects point at them.
void create_objects(DBus_daemon* daemon);

/// The power names of the table's objects, each once, in the order of the table.
QVector<QByteArray> power_names();
