#pragma once

#include "Xml_config.h"

/// The OEM profile: whose terminal this is. The document's root element is "profile".

/// The OEM code of a terminal without a profile, or whose profile does not say.
constexpr uchar unknown_oem_code = 255;

/// The remote-switch power-up time of a profile that does not say, in the controller's units.
constexpr uchar default_power_up_time = 15;

/// Reads the file. Returns a Load_result.
int load_oem_profile(std::unique_ptr<QDomDocument>& document, const char* path);

/// The low 8 bits of the first "code" element's number, as "%u" of scanf reads it; the default
/// when there is no document, no such element or no number.
uchar get_oem_code(const QDomDocument* document, uchar default_code);

/// The same of the first "RemoteSwitchPowerUpTime" element.
uchar get_remote_switch_power_up_time(const QDomDocument* document, uchar default_time);

/// The loaded OEM profile.
struct OEM_profile {
    std::unique_ptr<QDomDocument> document;
};
