#include "camera/onvif/EventText.h"

#include "camera/base/Console.h"
#include "camera/base/Text.h"

#include <pugixml.hpp>

namespace camera::onvif {

namespace {

constexpr std::size_t kLongestRawText = 120;

// By local name, because the prefix may be another one.
bool isNamed(const pugi::xml_node& node, const std::string& localName)
{
    const std::string name = node.name();
    const std::size_t colon = name.find(':');
    return (colon == std::string::npos ? name : name.substr(colon + 1)) == localName;
}

void appendItems(const pugi::xml_node& list, std::string& out)
{
    for (const pugi::xml_node& item : list.children()) {
        if (isNamed(item, "SimpleItem")) {
            out += std::string("  ") + item.attribute("Name").value() + "=" + item.attribute("Value").value();
        }
    }
}

std::string messageText(const pugi::xml_node& message)
{
    std::string out;
    for (const pugi::xml_node& part : message.children()) {
        if (isNamed(part, "Key") || isNamed(part, "Data")) {
            appendItems(part, out);
        }
    }
    if (const std::string operation = message.attribute("PropertyOperation").value(); operation == "Initialized") {
        out += "  (initial)";
    }
    return out;
}

} // namespace

std::string describeEvent(const base::Event& event)
{
    pugi::xml_document document;
    const bool parsed = static_cast<bool>(document.load_buffer(event.data.data(), event.data.size()));
    const pugi::xml_node message = document.document_element();
    std::string line = "event  ";
    std::string details;
    if (parsed && isNamed(message, "Message")) {
        line += std::string(message.attribute("UtcTime").value()) + "  ";
        details = messageText(message);
    } else if (!event.data.empty()) {
        details = "  " + event.data.substr(0, kLongestRawText) + (event.data.size() > kLongestRawText ? "..." : "");
    }
    line += event.topic;
    if (!event.source.empty()) {
        line += "  " + event.source;
    }
    return base::printable(line + details);
}

} // namespace camera::onvif
