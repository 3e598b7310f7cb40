#include "camera/onvif/XmlText.h"

#include <sstream>

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

std::string wholeText(const pugi::xml_document& document)
{
    std::ostringstream out;
    out << R"(<?xml version="1.0" encoding="UTF-8"?>)";
    document.document_element().print(out, "", pugi::format_raw);
    return out.str();
}

} // namespace camera::onvif
