#include "HW_version_interface.h"

#include "Message_id.h"

#include <algorithm>
#include <iterator>

namespace {

struct Revision_row {
    uchar last; ///< revision
    const char* version;
};

/// Ascending, and the last row takes the rest.
constexpr Revision_row revision_rows[] = {{10, "v1.0"}, {19, "v1.1"}, {255, "v2.0"}};

} // namespace

HW_version_interface::HW_version_interface(DBus_daemon* owner, const QString& path)
    : Version_interface(owner, path)
{
    set_text(QLatin1String(unknown));
}

bool HW_version_interface::handle_message(const uchar* data, uint len)
{
    if (len < 2 || data[0] != Message_id::hardware_version)
        return refuse(data, len);
    const auto* row =
        std::find_if(std::begin(revision_rows), std::end(revision_rows),
                     [revision = data[1]](const Revision_row& r) { return revision <= r.last; });
    set_text(QLatin1String(row->version));
    return true;
}
