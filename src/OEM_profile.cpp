#include "OEM_profile.h"

int load_oem_profile(std::unique_ptr<QDomDocument>& document, const char* path)
{
    return load_xml_config(document, oem_profile_file.document, path, oem_profile_file.root);
}

Config_value read_profile_entry(const QDomDocument* document, const Config_row& row)
{
    const bool has_file = document != nullptr;
    const QDomElement root = has_file ? document->documentElement() : QDomElement();
    return read_entry(row, 0, root.firstChildElement(QLatin1String(row.tag)), has_file);
}

uchar get_oem_code(const QDomDocument* document, uchar default_code)
{
    return static_cast<uchar>(read_profile_entry(document, oem_code_row).value_or(default_code));
}

uchar get_remote_switch_power_up_time(const QDomDocument* document, uchar default_time)
{
    return static_cast<uchar>(
        read_profile_entry(document, power_up_time_row).value_or(default_time));
}
