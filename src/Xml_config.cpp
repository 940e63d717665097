#include "Xml_config.h"

#include "Xml_limits.h"

#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

namespace {

/// The element that begins next in the file.
QDomElement next_element(const QDomElement& element)
{
    QDomElement next = element.firstChildElement();
    for (QDomElement last = element; next.isNull() && !last.isNull();
         last = last.parentNode().toElement())
        next = last.nextSiblingElement();
    return next;
}

/// Takes the default values out again that the document type declares for attributes.
void remove_declared_attributes(const QDomDocument& document, const QByteArray& bytes)
{
    QXmlStreamReader reader(bytes);
    reader.setNamespaceProcessing(false);
    reader.setEntityExpansionLimit(max_config_text);
    QDomElement element = document.documentElement();
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        for (const QXmlStreamAttribute& attribute : reader.attributes()) {
            if (attribute.isDefault())
                element.removeAttribute(attribute.qualifiedName().toString());
        }
        element = next_element(element);
    }
}

/// Of bytes that check_xml() has passed.
bool set_content(QDomDocument& document, const QByteArray& bytes)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    // It gives up on some entities of entities and on a third parameter entity.
    if (document.setContent(bytes))
        return true;
#endif
    QXmlStreamReader reader(bytes);
    reader.setNamespaceProcessing(false);
    reader.setEntityExpansionLimit(max_config_text);
#if QT_VERSION < QT_VERSION_CHECK(6, 5, 0)
    const bool is_read = document.setContent(&reader, false);
#else
    const bool is_read(document.setContent(&reader, QDomDocument::ParseOption::Default));
#endif
    if (!is_read)
        return false;
    remove_declared_attributes(document, bytes);
    return true;
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
    const QByteArray bytes = as_xml_1_0(file.read(max_config_size + 1));
    if (!check_xml(bytes).text.isEmpty() || !set_content(*document, bytes))
        return config_malformed;
    if (document->documentElement().tagName() != QLatin1String(root)) {
        document.reset();
        return config_wrong_root;
    }
    return config_loaded;
}

QDomElement first_child_element(const QDomElement& parent, const QString& tag,
                                const QString& attribute, const QString& value)
{
    QDomElement child = parent.firstChildElement(tag);
    while (!child.isNull() && child.attribute(attribute) != value)
        child = child.nextSiblingElement(tag);
    return child;
}

QDomElement find_config_element(const QDomDocument* document, const QStringList& path)
{
    constexpr int triple = 3;
    if (document == nullptr || path.size() < triple)
        return {};
    QDomElement element = document->documentElement();
    for (int i = 0; i + triple <= path.size(); i += triple)
        element = first_child_element(element, path[i], path[i + 1], path[i + 2]);
    return element.hasChildNodes() ? element : QDomElement();
}
