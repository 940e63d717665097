// Prints the catalogue of objects as JSON: what data/objects.json holds.

#include "Catalogue_json.h"

#include <cstdio>

int main()
{
    const QByteArray json = catalogue_json();
    const auto size = static_cast<std::size_t>(json.size());
    return std::fwrite(json.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0 ? 0
                                                                                              : 1;
}
