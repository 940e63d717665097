#pragma once

#include "Config_schema.h"
#include "Xml_config.h"

/// The power configuration: which devices are on in each power state, and how long each state
/// lasts.

/// Reads the file. Returns a Load_result.
int load_power_config(std::unique_ptr<QDomDocument>& document, const char* path);

/// The time-out of a state, in seconds, and the power of a device in a state, 1 or 0. `state` is
/// one; a null document is no file.
Config_value read_state_timeout(const QDomDocument* document, int state);
Config_value read_device_power(const QDomDocument* document, int state, const QString& power_name);

/// Whether the device with the given power name is on in a state: exactly "on" or "off" in the
/// file. Anything else, an entry that is missing included, is reported on standard output and
/// gives `default_on`; so does a number that is no state, silently.
bool get_device_power(const QDomDocument* document, int state, const char* power_name,
                      bool default_on);

/// The time-out of a state in seconds, negative for none, as "%d" of scanf reads it. Anything
/// else, an entry that is missing included, is reported on standard output and gives
/// `default_timeout`; so does a number that is no state, silently.
int get_state_timeout(const QDomDocument* document, int state, int default_timeout);

/// The loaded power configuration.
struct Power_config {
    std::unique_ptr<QDomDocument> document;
};
