#include "camera/onvif/IntendedChange.h"

#include "camera/base/JsonText.h"
#include "camera/onvif/JsonValues.h"

#include <exception>
#include <stdexcept>

namespace camera::onvif {

namespace {

constexpr std::size_t kLargestChange = 64 * 1024 * 1024;

PlacedComponent componentOf(const Json::Value& value)
{
    const Json::Value& object = jsonObject(value);
    const std::string xml = jsonText(object["xml"]);
    pugi::xml_document document;
    if (!document.load_buffer(xml.data(), xml.size())) {
        throw std::invalid_argument("no XML");
    }
    return placedComponent(document.document_element(), jsonText(object["engine"]));
}

} // namespace

std::string format(const IntendedChange& change)
{
    Json::Value object;
    object["keys"] = Json::Value(Json::arrayValue);
    for (const DocumentKey& key : change.keys) {
        Json::Value row;
        row["engine"] = key.engine;
        row["preset"] = key.preset;
        object["keys"].append(row);
    }
    object["before"] = Json::Value(Json::arrayValue);
    for (const PlacedComponent& component : change.before) {
        Json::Value row;
        row["engine"] = component.key.engine;
        row["xml"] = component.xml;
        object["before"].append(row);
    }
    return base::oneLineJson(object);
}

std::optional<IntendedChange> parseIntendedChange(const std::string& document)
{
    try {
        const Json::Value read = base::readStrictJson(document, kLargestChange);
        const Json::Value& object = jsonObject(read);
        IntendedChange change;
        for (const Json::Value& key : jsonArray(object["keys"])) {
            change.keys.push_back({jsonText(jsonObject(key)["engine"]), jsonText(key["preset"])});
        }
        for (const Json::Value& component : jsonArray(object["before"])) {
            change.before.push_back(componentOf(component));
        }
        return change;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace camera::onvif
