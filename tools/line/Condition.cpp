#include "Condition.h"

namespace {

struct Sign {
    const char* text;
    Relation relation;
};

/// The longer ones first.
constexpr Sign signs[] = {
    {"!=", Relation::not_equal}, {"<=", Relation::at_most}, {">=", Relation::at_least},
    {"=", Relation::equal},      {"<", Relation::below},    {">", Relation::above},
};

} // namespace

std::optional<Condition> split_condition(const QString& text)
{
    for (const Sign& sign : signs) {
        const QLatin1String characters(sign.text);
        const auto at = text.indexOf(characters);
        if (at > 0)
            return Condition{text.left(at).trimmed(), sign.relation,
                             text.mid(at + characters.size()).trimmed()};
    }
    return std::nullopt;
}
