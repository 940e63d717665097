#pragma once

#include <QHash>
#include <QSet>
#include <QString>

/// What reading a piece of XML would take. Found out without a reader of XML, in one pass: a reader
/// would already have taken it. What is in comments, in processing instructions and in CDATA
/// sections counts for nothing.
struct Xml_demand {
    /// How often each entity is referred to, the document type apart.
    QHash<QString, int> references;

    /// Those of them that are in quoted values of tags.
    QSet<QString> references_in_values;

    /// The most quoted values of one tag; or, when that is more, what the document type declares,
    /// with its references.
    int values = 0;

    /// References in the document type, to parameter entities and in default values.
    int declared_references = 0;
};

/// Looks at a whole file, or at what an entity stands for. Where it is not well-formed, what is
/// behind that does not matter.
Xml_demand scan_xml(const QString& text);
