#pragma once

#include <QDomDocument>
#include <QDomElement>
#include <QStringList>

#include <memory>

/// Reading of the XML configuration files, shared by both.

/// What a configuration file may be: beyond these it is no configuration of this system's, and
/// reading it would cost the memory, the stack or the time of the daemon.
constexpr int max_config_size = 1024 * 1024;     ///< bytes
constexpr int max_config_depth = 100;            ///< nested elements
constexpr int max_config_attributes = 4096;      ///< of one element, all of which are compared
constexpr int max_config_doctype = 64 * 1024;    ///< characters of the document type
constexpr int max_expanded_config = 1024 * 1024; ///< characters, with all entities in their place

enum Load_result : int {
    config_loaded = 0,
    config_not_opened = -1, ///< or no file: a directory, a device, a pipe
    config_malformed = -2,  ///< not well-formed, or beyond the limits
    config_wrong_root = -3,
};

/// Creates the document, named `name`, and reads the file into it. Returns a Load_result; when
/// the root element has another tag than `root` the document is destroyed as well.
int load_xml_config(std::unique_ptr<QDomDocument>& document, const char* name, const char* path,
                    const char* root);

/// Follows `path`, read as triples of element tag, attribute name and attribute value, down from
/// the root element's children. An attribute that is absent counts as empty. At each level the
/// first match counts, and its siblings are never looked at again. Returns the element reached;
/// a null one when there is none or when it is empty.
QDomElement find_config_element(const QDomDocument* document, const QStringList& path);
