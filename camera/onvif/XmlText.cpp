#include "camera/onvif/XmlText.h"

#include <utility>

namespace camera::onvif {

pugi::xml_node onlyElement(const pugi::xml_node& parent)
{
    pugi::xml_node only;
    for (const pugi::xml_node& node : parent.children()) {
        if (node.type() == pugi::node_element) {
            if (only) {
                return {};
            }
            only = node;
        }
    }
    return only;
}

void print(const pugi::xml_node& node, std::string& text)
{
    struct Writer final : pugi::xml_writer {
        explicit Writer(std::string& text) : text(text) {}
        void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
        std::string& text;
    } writer(text);
    node.print(writer, "", pugi::format_raw);
}

std::string printed(const pugi::xml_node& node)
{
    std::string text;
    print(node, text);
    return text;
}

std::string wholeText(const pugi::xml_document& document)
{
    return std::string(kXmlDeclaration) + printed(document.document_element());
}

} // namespace camera::onvif
