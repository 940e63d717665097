#include "Xml_limits.h"

#include "Xml_scan.h"

#include <QRegularExpression>
#include <QXmlStreamReader>

#include <algorithm>

namespace {

/// Bytes as text, as far as it takes to find the markup. What is not UTF-16 has markup of ASCII.
struct Text {
    explicit Text(const QByteArray& bytes)
    {
        if (bytes.startsWith("\xfe\xff") || bytes.startsWith("\xff\xfe"))
            mark = unit = 2;
        else if (bytes.startsWith("\xef\xbb\xbf"))
            mark = 3;
        if (unit == 1)
            text = QString::fromUtf8(bytes.mid(mark));
        else
            text = QString::fromUtf16(reinterpret_cast<const char16_t*>(bytes.constData()),
                                      bytes.size() / unit);
    }

    QString text;
    int mark = 0; ///< bytes of the byte-order mark
    int unit = 1; ///< bytes of an ASCII character
};

/// Whether the encoding's markup is found by Text.
bool has_plain_markup(const QString& encoding)
{
    static const QRegularExpression names(
        QStringLiteral("^(|utf-8|utf-16|(us-)?ascii|iso-8859-.*|windows-125.)$"),
        QRegularExpression::CaseInsensitiveOption);
    return names.match(encoding).hasMatch();
}

/// The entities that a document type declares, each with the entities in it in their place.
class Entities {
public:
    explicit Entities(const QXmlStreamEntityDeclarations& declarations)
    {
        for (const QXmlStreamEntityDeclaration& declaration : declarations) {
            const QString name = declaration.name().toString();
            if (!entities_.contains(name))
                entities_.insert(name, entity_of(declaration.value().toString()));
        }
        for (const QString& name : entities_.keys()) {
            const Size size = size_of(name);
            most_values_ = std::max(most_values_, entities_[name].demand.values);
            largest_ = std::max(largest_, size.characters);
        }
    }

    int most_values() const { return most_values_; }

    /// Of references to entities, in characters, at most one more than the limit.
    qint64 size_of(const QHash<QString, int>& references) { return total(references).characters; }

    bool have_markup(const QSet<QString>& names)
    {
        return std::any_of(names.begin(), names.end(),
                           [this](const QString& name) { return size_of(name).has_markup; });
    }

private:
    static constexpr qint64 too_much = max_config_text + 1;

    struct Size {
        qint64 characters = 0;
        bool has_markup = false;
    };

    struct Entity {
        Xml_demand demand;
        Size own; ///< without the references in it
        Size all; ///< with what they stand for
        bool is_measured = false;
    };

    static Entity entity_of(const QString& value)
    {
        Entity entity;
        entity.demand = scan_xml(value);
        entity.own = {value.size(), value.contains(QLatin1Char('<'))};
        const auto& references = entity.demand.references;
        for (auto it = references.begin(); it != references.end(); ++it)
            entity.own.characters -= it.value() * (it.key().size() + 2);
        return entity;
    }

    Size total(const QHash<QString, int>& references)
    {
        Size sum;
        for (auto it = references.begin(); it != references.end(); ++it) {
            const Size size = size_of(it.key());
            sum.characters = std::min(sum.characters + it.value() * size.characters, too_much);
            sum.has_markup = sum.has_markup || size.has_markup;
        }
        return sum;
    }

    Size size_of(const QString& name)
    {
        const auto entity = entities_.find(name);
        // A name that Text cannot read may be of any of them.
        if (entity == entities_.end())
            return {name.contains(QChar::ReplacementCharacter) ? largest_ : 1, false};
        if (!entity->is_measured) {
            entity->is_measured = true;
            entity->all.characters = too_much; // for one that refers to itself
            const Size inner = total(entity->demand.references);
            entity->all = {std::min(entity->own.characters + inner.characters, too_much),
                           entity->own.has_markup || inner.has_markup};
        }
        return entity->all;
    }

    QHash<QString, Entity> entities_;
    int most_values_ = 0;
    qint64 largest_ = 1;
};

class Checker {
public:
    explicit Checker(const QByteArray& bytes) : demand_(scan_xml(Text(bytes).text)), reader_(bytes)
    {
        reader_.setNamespaceProcessing(false);
        reader_.setEntityExpansionLimit(max_config_text / (demand_.declared_references + 1));
    }

    Xml_fault check()
    {
        keep(Xml_limit::values, demand_.values, max_config_values);
        while (fault_.text.isEmpty() && !reader_.atEnd())
            take(reader_.readNext());
        if (fault_.text.isEmpty() && reader_.hasError())
            fault_ = {reader_.errorString(), line(), true};
        return fault_;
    }

private:
    int line() const { return static_cast<int>(reader_.lineNumber()); }

    void keep(Xml_limit limit, qint64 value, qint64 most)
    {
        if (value > most)
            fault_ = {text_of(limit), line(), false};
    }

    void take(QXmlStreamReader::TokenType token)
    {
        if (token == QXmlStreamReader::StartDocument)
            has_plain_markup_ = has_plain_markup(reader_.documentEncoding().toString());
        else if (token == QXmlStreamReader::DTD)
            take_document_type();
        else if (token == QXmlStreamReader::StartElement)
            take_start();
        else if (token == QXmlStreamReader::EndElement)
            --depth_;
        else if (token == QXmlStreamReader::Characters)
            add_text(reader_.text().size());
    }

    void take_document_type()
    {
        Entities entities(reader_.entityDeclarations());
        keep(Xml_limit::values, entities.most_values(), max_config_values);
        keep(Xml_limit::text, entities.size_of(demand_.references), max_config_text);
        if (entities.have_markup(demand_.references_in_values))
            fault_ = {QStringLiteral("Markup in an attribute value."), line(), true};
        reader_.setEntityExpansionLimit(has_plain_markup_ ? max_config_text : 0);
    }

    void take_start()
    {
        keep(Xml_limit::depth, ++depth_, max_config_depth);
        for (const QXmlStreamAttribute& attribute : reader_.attributes())
            add_text(attribute.qualifiedName().size() + attribute.value().size());
    }

    void add_text(qint64 size)
    {
        text_size_ += size;
        keep(Xml_limit::text, text_size_, max_config_text);
    }

    Xml_demand demand_;
    QXmlStreamReader reader_;
    Xml_fault fault_;
    bool has_plain_markup_ = true; ///< and the demand is known
    int depth_ = 0;
    qint64 text_size_ = 0;
};

} // namespace

QString text_of(Xml_limit limit)
{
    constexpr int mebi = 1024 * 1024;
    switch (limit) {
    case Xml_limit::size:
        return QStringLiteral("it is larger than %1 MiB").arg(max_config_size / mebi);
    case Xml_limit::text:
        return QStringLiteral("it has more than %1 MiB of text, with what its entities stand for")
            .arg(max_config_text / mebi);
    case Xml_limit::depth:
        return QStringLiteral("it is nested deeper than %1 elements").arg(max_config_depth);
    case Xml_limit::values:
        break;
    }
    return QStringLiteral("it has more than %1 attributes in one element, or attributes, entities "
                          "and references in its document type")
        .arg(max_config_values);
}

QByteArray as_xml_1_0(const QByteArray& bytes)
{
    static const QRegularExpression declaration(
        QStringLiteral(R"(^<\?xml\s+version\s*=\s*["']1\.([0-9]+)["'])"));
    constexpr int longest = 200; // bytes that hold it
    const Text start(bytes.left(longest));
    const auto match = declaration.match(start.text);
    if (!match.hasMatch())
        return bytes;
    const int at = start.mark + start.unit * static_cast<int>(match.capturedStart(1));
    QByteArray zero = bytes.mid(at, start.unit);
    zero.replace(match.captured(1)[0].toLatin1(), '0');
    return QByteArray(bytes).replace(at, start.unit * static_cast<int>(match.capturedLength(1)),
                                     zero);
}

Xml_fault check_xml(const QByteArray& bytes)
{
    if (bytes.size() > max_config_size)
        return {text_of(Xml_limit::size), 0, false};
    return Checker(bytes).check();
}
