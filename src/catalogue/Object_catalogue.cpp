#include "Object_catalogue.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr bool sections_are_numbered()
{
    unsigned rows[std::size(section_titles)] = {};
    unsigned long long places[std::size(section_titles)] = {}; // bit n: place n is taken
    for (const Object_row& row : object_rows) {
        const auto section = static_cast<std::size_t>(row.section);
        ++rows[section];
        places[section] |= 1ULL << row.place;
    }
    for (std::size_t section = 0; section < std::size(section_titles); ++section)
        if (rows[section] == 0 || places[section] != (1ULL << rows[section]) - 1)
            return false;
    return true;
}
static_assert(sections_are_numbered(), "the places of a section are not 0, 1, 2, ...");

QString numbered(const char* pattern, unsigned index)
{
    return QString::fromUtf8(pattern).replace(QLatin1String("%1"), QString::number(index));
}

void append(std::vector<Catalogue_object>& objects, const Object_row& row)
{
    for (unsigned index = 0; index < row.count; ++index)
        objects.push_back({object_of(row, index),
                           QLatin1String(path_prefix) + relative_path(row, index),
                           QLatin1String(interface_prefix) + QLatin1String(row.kind->interface),
                           numbered(row.title, index), row.section, row.kind});
}

} // namespace

QString relative_path(const Object_row& row, unsigned index)
{
    return numbered(row.path, index);
}

QByteArray power_name(const Object_row& row, unsigned index)
{
    if (row.power_name == nullptr)
        return {};
    return QByteArray(row.power_name).replace("%1", QByteArray::number(index + 1));
}

QVector<QByteArray> power_names()
{
    QVector<QByteArray> names;
    for (const Object_row& row : object_rows) {
        for (unsigned index = 0; index < row.count; ++index) {
            const QByteArray name = power_name(row, index);
            if (!name.isNull() && !names.contains(name))
                names.append(name);
        }
    }
    return names;
}

std::vector<Catalogue_object> catalogue()
{
    std::vector<Catalogue_object> objects;
    for (const Object_row& row : object_rows)
        append(objects, row);
    return objects;
}

std::vector<Catalogue_object> catalogue_as_shown()
{
    std::vector<const Object_row*> rows;
    for (const Object_row& row : object_rows)
        rows.push_back(&row);
    std::sort(rows.begin(), rows.end(), [](const Object_row* a, const Object_row* b) {
        return std::make_pair(a->section, a->place) < std::make_pair(b->section, b->place);
    });
    std::vector<Catalogue_object> objects;
    for (const Object_row* row : rows)
        append(objects, *row);
    return objects;
}
