#pragma once

class DBus_daemon;

/// Creates every object of the bus, in order, and lets the daemon's device objects point at them.
void create_objects(DBus_daemon* daemon);
