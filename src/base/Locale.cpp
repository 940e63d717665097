#include "Locale.h"

#include <QByteArray>

#include <clocale>
#include <cstring>

#include <langinfo.h>

bool use_utf8_locale()
{
    std::setlocale(LC_CTYPE, "");
    const bool is_utf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    if (!is_utf8)
        qputenv("LC_ALL", "C.UTF-8");
#endif
    return is_utf8;
}
