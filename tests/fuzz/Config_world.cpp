#include "Config_world.h"

#include "Xml_limits.h"

#include <QXmlStreamReader>

#include <algorithm>
#include <regex>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

/// `text` is a QStringRef of Qt 5 or a QStringView of Qt 6.
template <typename View>
std::string to_string(const View& text)
{
    return text.toUtf8().toStdString();
}

/// Reads the element that has just begun.
Plain_element read_element(QXmlStreamReader& reader)
{
    Plain_element element;
    element.tag = to_string(reader.qualifiedName());
    for (const QXmlStreamAttribute& attribute : reader.attributes())
        element.attributes.emplace_back(to_string(attribute.qualifiedName()),
                                        to_string(attribute.value()));
    for (;;) {
        const auto token = reader.readNext();
        if (token == QXmlStreamReader::StartElement) {
            element.children.push_back(read_element(reader));
            element.text += element.children.back().text;
        } else if (token == QXmlStreamReader::Characters && !reader.isWhitespace()) {
            element.text += to_string(reader.text());
        } else if (token == QXmlStreamReader::EndElement || reader.atEnd()) {
            return element;
        }
    }
}

int depth_of(const Plain_element& element)
{
    int depth = 0;
    for (const Plain_element& child : element.children)
        depth = std::max(depth, depth_of(child));
    return depth + 1;
}

/// The same of XML 1.0, which is the only one that the model's reader knows.
QByteArray known_version(const std::string& bytes)
{
    static const std::regex declaration(
        "^((\xef\xbb\xbf)?<\\?xml\\s+version\\s*=\\s*[\"'])1\\.[0-9]+");
    // Without the flag it is sought behind every byte.
    return QByteArray::fromStdString(
        std::regex_replace(bytes, declaration, "$011.0", std::regex_constants::match_continuous));
}

/// The file that the inputs are written to, by name.
const std::string& write_to_file(const std::string& bytes)
{
    static const int file = memfd_create("configuration", MFD_CLOEXEC);
    static const std::string name = "/proc/self/fd/" + std::to_string(file);
    (void)!ftruncate(file, 0);
    (void)!pwrite(file, bytes.data(), bytes.size(), 0);
    return name;
}

} // namespace

std::string Plain_element::attribute(const std::string& name) const
{
    for (const auto& [key, value] : attributes) {
        if (key == name)
            return value;
    }
    return {};
}

std::string make_file(Choices& choices, const std::vector<std::string>& tokens)
{
    if (choices.below(4) == 0)
        return choices.rest();
    std::string file;
    while (choices.are_left())
        file += tokens[choices.below(static_cast<unsigned int>(tokens.size()))];
    return file;
}

Loaded load(const std::string& bytes, int (*loader)(std::unique_ptr<QDomDocument>&, const char*),
            const std::string& root_tag)
{
    Loaded loaded;
    loaded.bytes = bytes;
    loaded.result = loader(loaded.document, write_to_file(bytes).c_str());
    require(loaded.result != config_not_opened, "the file is there");
    require((loaded.result == config_wrong_root) == (loaded.document == nullptr),
            "only a wrong root costs the document", bytes);

    QXmlStreamReader reader(known_version(bytes));
    reader.setNamespaceProcessing(false);
    reader.setEntityExpansionLimit(max_config_text);
    while (!reader.atEnd() && reader.readNext() != QXmlStreamReader::StartElement) {
    }
    if (reader.isStartElement())
        loaded.root = read_element(reader);
    while (!reader.atEnd())
        reader.readNext();
    const bool well_formed = !reader.hasError();
    require(well_formed || loaded.result == config_malformed, "what is malformed is refused",
            bytes);
    if (loaded.result == config_loaded)
        require(loaded.root.tag == root_tag, "the root has its tag", bytes);
    // Own entities, and what is no text, are read in ways of their own.
    const bool is_plain =
        bytes.find("<!") == std::string::npos && bytes.find("<?") == std::string::npos;
    // Inputs are too short for the other limits.
    require(!is_plain || !well_formed || depth_of(loaded.root) > max_config_depth ||
                loaded.result != config_malformed,
            "what is well-formed is read", bytes);
    loaded.has_plain_root = loaded.result == config_loaded && is_plain;
    return loaded;
}
