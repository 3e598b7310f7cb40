#include "camera/onvif/EventText.h"

#include "camera/base/Console.h"
#include "camera/base/Text.h"

#include <pugixml.hpp>

#include <utility>

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

Json::Value valueOf(const std::string& text)
{
    return text == "true" || text == "false" ? Json::Value(text == "true") : Json::Value(text);
}

// A rule that watches cells calls its state IsMotion.
void appendFields(const pugi::xml_node& list, Json::Value& object)
{
    for (const pugi::xml_node& item : list.children()) {
        const std::string name = item.attribute("Name").value();
        if (isNamed(item, "SimpleItem") && !name.empty()) {
            object[name == "State" || name == "IsMotion" ? "state" : name] = valueOf(item.attribute("Value").value());
        }
    }
}

// Goes through a document of any depth without calls that nest.
class SeenThings final : public pugi::xml_tree_walker {
public:
    std::vector<Json::Value> things;

    bool for_each(pugi::xml_node& node) override
    {
        if (isNamed(node, "Frame")) {
            _time = node.attribute("UtcTime").value();
        } else if (isNamed(node, "Object")) {
            addThing()["object"] = Json::Int64(node.attribute("ObjectId").as_llong());
        } else if (isNamed(node, "MotionInCells")) {
            Json::Value& cells = addThing();
            cells["columns"] = node.attribute("Columns").as_int();
            cells["rows"] = node.attribute("Rows").as_int();
            cells["cells"] = node.attribute("Cells").value();
        } else if (!things.empty() && (isNamed(node, "BoundingBox") || isNamed(node, "CenterOfGravity"))) {
            for (const pugi::xml_attribute& attribute : node.attributes()) {
                things.back()[attribute.name()] = attribute.as_double();
            }
        }
        return true;
    }

private:
    Json::Value& addThing()
    {
        things.emplace_back(Json::objectValue);
        things.back()["time"] = _time;
        return things.back();
    }

    std::string _time;
};

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

Json::Value eventObject(const base::Event& event, const std::string& preset)
{
    pugi::xml_document document;
    const bool parsed = static_cast<bool>(document.load_buffer(event.data.data(), event.data.size()));
    const pugi::xml_node message = document.document_element();
    Json::Value object(Json::objectValue);
    if (parsed && isNamed(message, "Message")) {
        for (const pugi::xml_node& part : message.children()) {
            if (isNamed(part, "Key") || isNamed(part, "Data")) {
                appendFields(part, object);
            }
        }
        object["time"] = message.attribute("UtcTime").value();
        if (const pugi::xml_attribute operation = message.attribute("PropertyOperation")) {
            object["operation"] = operation.value();
        }
    } else if (!event.data.empty()) {
        object["data"] = event.data;
    }
    object["topic"] = event.topic;
    object["rule"] = event.source;
    object["preset"] = preset;
    return object;
}

std::vector<Json::Value> metadataObjects(const std::string& text)
{
    pugi::xml_document document;
    SeenThings seen;
    if (document.load_buffer(text.data(), text.size())) {
        document.traverse(seen);
    }
    if (seen.things.empty()) {
        seen.things.emplace_back(Json::objectValue);
        seen.things.back()["data"] = text;
    }
    return std::move(seen.things);
}

} // namespace camera::onvif
