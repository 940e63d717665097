#include "OEM_profile.h"

#include <cstdio>

namespace {

uchar first_number(const QDomDocument* document, const char* tag, uchar default_number)
{
    if (document == nullptr)
        return default_number;
    const QDomElement element = document->documentElement().firstChildElement(QLatin1String(tag));
    const QByteArray text = element.text().toUtf8();
    unsigned int number = 0;
    return std::sscanf(text.constData(), "%u", &number) == 1 ? static_cast<uchar>(number)
                                                             : default_number;
}

} // namespace

int load_oem_profile(std::unique_ptr<QDomDocument>& document, const char* path)
{
    return load_xml_config(document, "OEMprofile", path, "profile");
}

uchar get_oem_code(const QDomDocument* document, uchar default_code)
{
    return first_number(document, "code", default_code);
}

uchar get_remote_switch_power_up_time(const QDomDocument* document, uchar default_time)
{
    return first_number(document, "RemoteSwitchPowerUpTime", default_time);
}
