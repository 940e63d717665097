#pragma once

#include <QString>

/// Another process that has the device of a descriptor open, as "dov-dbus (1234)"; empty when
/// there is none that may be looked at.
///
/// Bytes go to whoever reads first: two hosts of one line have half of them each. One that has the
/// other end of a pseudo terminal as well is no host but the controller.
QString holder_of(int descriptor);
