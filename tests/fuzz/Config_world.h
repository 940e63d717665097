#pragma once

#include "Fuzz_world.h"
#include "Xml_config.h"

#include <vector>

/// What the two configuration targets share.

/// One element of a small tree that has nothing in common with the documents of the program.
struct Plain_element {
    std::string tag;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<Plain_element> children;
    std::string text; ///< with that of everything inside; blank pieces count for nothing

    /// An attribute's value, empty when it is absent.
    std::string attribute(const std::string& name) const;
};

/// A loaded file, as bytes, as the program's document and as a plain tree.
struct Loaded {
    std::string bytes;
    std::unique_ptr<QDomDocument> document;
    int result = 0;
    Plain_element root;
    bool has_plain_root = false; ///< false when the bytes need more than the plain reader knows
};

/// Makes a file of the input: of tokens that the configuration is built from, or of its bytes.
std::string make_file(Choices& choices, const std::vector<std::string>& tokens);

/// Loads bytes by way of a file.
Loaded load(const std::string& bytes, int (*loader)(std::unique_ptr<QDomDocument>&, const char*),
            const std::string& root_tag);
