#pragma once

#include <QDomDocument>
#include <QDomElement>
#include <QStringList>

#include <memory>

/// Reading of the XML configuration files, shared by both.

enum Load_result : int {
    config_loaded = 0,
    config_not_opened = -1, ///< or no file: a directory, a device, a pipe
    config_malformed = -2,  ///< not well-formed, or beyond the limits of Xml_limits.h
    config_wrong_root = -3,
};

/// Creates the document, named `name`, and reads the file into it. Returns a Load_result; when
/// the root element has another tag than `root` the document is destroyed as well.
int load_xml_config(std::unique_ptr<QDomDocument>& document, const char* name, const char* path,
                    const char* root);

/// The first child with this tag and this value of the attribute, an absent one counting as empty;
/// a null element when there is none.
QDomElement first_child_element(const QDomElement& parent, const QString& tag,
                                const QString& attribute, const QString& value);

/// Follows `path`, read as triples of element tag, attribute name and attribute value, down from
/// the root element's children. An attribute that is absent counts as empty. At each level the
/// first match counts, and its siblings are never looked at again. Returns the element reached;
/// a null one when there is none or when it is empty.
QDomElement find_config_element(const QDomDocument* document, const QStringList& path);
