#pragma once

#include "Config_schema.h"
#include "Xml_config.h"

/// The OEM profile: whose terminal this is.

/// Reads the file. Returns a Load_result.
int load_oem_profile(std::unique_ptr<QDomDocument>& document, const char* path);

/// The value of one of oem_profile_rows. A null document is no file.
Config_value read_profile_entry(const QDomDocument* document, const Config_row& row);

/// The low 8 bits of the first "code" element's number, as "%u" of scanf reads it; the default
/// when there is no document, no such element or no number.
uchar get_oem_code(const QDomDocument* document, uchar default_code);

/// The same of the first "RemoteSwitchPowerUpTime" element.
uchar get_remote_switch_power_up_time(const QDomDocument* document, uchar default_time);

/// The loaded OEM profile.
struct OEM_profile {
    std::unique_ptr<QDomDocument> document;
};
