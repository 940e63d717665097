#include "Page_request.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace {

using Kind = Page_request::Kind;

constexpr std::pair<const char*, Kind> kinds[] = {
    {"token", Kind::token}, {"watch", Kind::watch}, {"history", Kind::history},
    {"call", Kind::call},   {"bench", Kind::bench},
};

/// What whole numbers of JSON can be without losing digits.
constexpr double most_whole = 9007199254740991.0;

std::optional<qint64> whole_of(const QJsonValue& value)
{
    const double number = value.toDouble(std::nan(""));
    if (!(std::fabs(number) <= most_whole) || std::floor(number) < number)
        return std::nullopt;
    return static_cast<qint64>(number);
}

/// What a text of JSON says, in quotes.
QString text_of(const QString& quoted)
{
    return QJsonDocument::fromJson('[' + quoted.toUtf8() + ']').array().at(0).toString();
}

/// Whether an object has two members of one name. Qt 5 would never free a list or an object that
/// the first of them holds.
bool has_name_twice(const QByteArray& text)
{
    static const QRegularExpression token(
        QStringLiteral(R"re(("(?:[^"\\]++|\\.)*+"?+)\s*+(:?)|[{}\[\]])re"),
        QRegularExpression::DotMatchesEverythingOption);
    std::vector<QSet<QString>> names(1); // of what is open, one within the other
    // With its size: Qt 5 would stop at a zero.
    auto tokens =
        token.globalMatch(QString::fromUtf8(text.constData(), static_cast<int>(text.size())));
    while (tokens.hasNext()) {
        const QRegularExpressionMatch found = tokens.next();
        const QChar first = found.captured().front();
        if (first == QLatin1Char('{') || first == QLatin1Char('[')) {
            names.emplace_back();
        } else if (first != QLatin1Char('"')) {
            names.resize(std::max<std::size_t>(1, names.size() - 1));
        } else if (!found.captured(2).isEmpty()) {
            const QString name = text_of(found.captured(1));
            if (names.back().contains(name))
                return true;
            names.back().insert(name);
        }
    }
    return false;
}

/// Takes members of an object; notes the first that is not as it has to be.
class Members {
public:
    explicit Members(const QJsonObject& object) : object_(object) {}

    QString text(const char* name)
    {
        const QJsonValue value = object_.value(QLatin1String(name));
        expect(value.isString(), name, "a text");
        return value.toString();
    }

    bool truth(const char* name)
    {
        const QJsonValue value = object_.value(QLatin1String(name));
        expect(value.isBool(), name, "true or false");
        return value.toBool();
    }

    int small_number(const char* name)
    {
        const auto value = whole_of(object_.value(QLatin1String(name)));
        const bool is_good = value && *value >= 0 && *value <= std::numeric_limits<int>::max();
        expect(is_good, name, "a number from 0 on");
        return is_good ? static_cast<int>(*value) : 0;
    }

    QJsonArray list(const char* name)
    {
        const QJsonValue value = object_.value(QLatin1String(name));
        expect(value.isArray(), name, "a list");
        return value.toArray();
    }

    /// A text on one line, without control characters.
    QByteArray line(const char* name)
    {
        const QString value = text(name);
        expect(std::none_of(value.begin(), value.end(),
                            [](QChar each) { return each.category() == QChar::Other_Control; }),
               name, "one line");
        return value.toUtf8();
    }

    const QString& error() const { return error_; }

private:
    void expect(bool holds, const char* name, const char* what)
    {
        if (!holds && error_.isEmpty())
            error_ =
                QStringLiteral("\"%1\" is not %2").arg(QLatin1String(name), QLatin1String(what));
    }

    const QJsonObject& object_;
    QString error_;
};

QString take_members(const QJsonObject& object, Page_request& request)
{
    Members members(object);
    switch (request.kind) {
    case Kind::token:
        request.token = members.text("token").toUtf8();
        break;
    case Kind::watch:
        request.wants_frames = members.truth("frames");
        break;
    case Kind::history:
        request.object = members.small_number("object");
        request.member = members.text("member");
        break;
    case Kind::call:
        request.path = members.text("path");
        request.interface = members.text("interface");
        request.method = members.text("method");
        request.arguments = members.list("arguments");
        break;
    case Kind::bench:
        request.line = members.line("line");
        break;
    }
    return members.error();
}

} // namespace

Page_message read_page_message(const QByteArray& text)
{
    if (has_name_twice(text))
        return {std::nullopt, std::nullopt, QStringLiteral("a name is there twice")};
    const QJsonDocument document = QJsonDocument::fromJson(text);
    if (!document.isObject())
        return {std::nullopt, std::nullopt, QStringLiteral("no object of JSON")};
    const QJsonObject object = document.object();
    const auto id = whole_of(object.value(QStringLiteral("id")));
    const QString type = object.value(QStringLiteral("type")).toString();
    const auto* const kind = std::find_if(std::begin(kinds), std::end(kinds), [&](const auto& row) {
        return type == QLatin1String(row.first);
    });
    if (kind == std::end(kinds))
        return {std::nullopt, id, QStringLiteral("there is no such type")};
    Page_request request;
    request.kind = kind->second;
    request.id = id;
    const QString error = take_members(object, request);
    if (!error.isEmpty())
        return {std::nullopt, id, error};
    return {request, id, {}};
}
