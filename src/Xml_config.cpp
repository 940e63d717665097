#include "Xml_config.h"

#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

#include <algorithm>

namespace {

/// Whether it stays within the limits even if it is nothing but references to its longest entity.
bool may_expand(const QXmlStreamReader& reader, int size)
{
    constexpr int shortest_reference = 3;
    qint64 longest = 0;
    for (const QXmlStreamEntityDeclaration& entity : reader.entityDeclarations()) {
        const bool refers = entity.value().contains(QLatin1Char('&'));
        longest = std::max<qint64>(longest,
                                   refers ? reader.entityExpansionLimit() : entity.value().size());
    }
    return size / shortest_reference * longest <= max_expanded_config;
}

/// Whether no piece of markup has more than the quotes of so many attributes. Looked at before
/// anything else: the reader compares each two of an element.
bool has_few_attributes(const QByteArray& bytes)
{
    int quotes = 0;
    for (const char character : bytes) {
        if (character == '<')
            quotes = 0;
        else if (character == '"' || character == '\'')
            ++quotes;
        if (quotes > 2 * max_config_attributes)
            return false;
    }
    return true;
}

bool is_small_doctype(const QXmlStreamReader& reader, int size)
{
    return reader.text().size() <= max_config_doctype && may_expand(reader, size);
}

bool is_within_limits(const QByteArray& bytes)
{
    if (bytes.size() > max_config_size || !has_few_attributes(bytes))
        return false;
    QXmlStreamReader reader(bytes);
    reader.setNamespaceProcessing(false);
    int depth = 0;
    while (!reader.atEnd()) {
        const auto token = reader.readNext();
        if (token == QXmlStreamReader::StartElement && ++depth > max_config_depth)
            return false;
        if (token == QXmlStreamReader::DTD && !is_small_doctype(reader, bytes.size()))
            return false;
        if (token == QXmlStreamReader::EndElement)
            --depth;
    }
    return !reader.hasError();
}

bool matches(const QDomElement& element, const QStringList& path, int triple)
{
    return element.tagName() == path[triple] &&
           element.attribute(path[triple + 1]) == path[triple + 2];
}

} // namespace

int load_xml_config(std::unique_ptr<QDomDocument>& document, const char* name, const char* path,
                    const char* root)
{
    document = std::make_unique<QDomDocument>(QLatin1String(name));
    QFile file(QFile::decodeName(path));
    // Opening a pipe would wait for somebody who writes it.
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        return config_not_opened;
    const QByteArray bytes = file.read(max_config_size + 1);
    if (!is_within_limits(bytes) || !document->setContent(bytes))
        return config_malformed;
    if (document->documentElement().tagName() != QLatin1String(root)) {
        document.reset();
        return config_wrong_root;
    }
    return config_loaded;
}

QDomElement find_config_element(const QDomDocument* document, const QStringList& path)
{
    if (document == nullptr)
        return {};
    QDomElement found;
    QDomNode node = document->documentElement().firstChild();
    int triple = 0;
    while (!node.isNull()) {
        if (path.size() < triple + 3)
            return found;
        const QDomElement element = node.toElement();
        if (!element.isNull() && matches(element, path, triple)) {
            found = element;
            node = found.firstChild();
            triple += 3;
        } else {
            node = node.nextSibling();
        }
    }
    return {};
}
