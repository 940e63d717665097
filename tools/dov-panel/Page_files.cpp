#include "Page_files.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

/// What a file is, by the end of its name. A file of another end is none of the page's.
constexpr std::pair<const char*, const char*> types[] = {
    {".html", "text/html; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".svg", "image/svg+xml"},
    {".png", "image/png"},
    {".json", "application/json"},
};

const char* type_of(const QByteArray& path)
{
    const auto* const found =
        std::find_if(std::begin(types), std::end(types),
                     [&](const auto& row) { return path.endsWith(row.first); });
    return found == std::end(types) ? nullptr : found->second;
}

bool is_plain(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_' || character == '-' ||
           character == '.';
}

/// Whether every part is a name that leads nowhere else.
bool is_plain(const QByteArray& path)
{
    if (!path.startsWith('/'))
        return false;
    const QList<QByteArray> parts = path.mid(1).split('/');
    return std::all_of(parts.begin(), parts.end(), [](const QByteArray& part) {
        return !part.isEmpty() && !part.startsWith('.') &&
               std::all_of(part.begin(), part.end(), [](char each) { return is_plain(each); });
    });
}

} // namespace

Page_files::Page_files(const QString& directory)
    : root_(directory.isEmpty() ? QStringLiteral(":/page") : directory)
{
}

std::optional<Page_files::File> Page_files::find(const QByteArray& path) const
{
    const QByteArray whole = path == "/" ? QByteArray("/index.html") : path;
    const char* const type = type_of(whole);
    if (type == nullptr || !is_plain(whole))
        return std::nullopt;
    QFile file(root_ + QString::fromLatin1(whole));
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return File{file.readAll(), type};
}
