#include "camera/onvif/StoredConfigurations.h"

#include <json/reader.h>
#include <memory>

namespace camera::onvif {

std::vector<StoredConfiguration> storedConfigurations(const std::string& document)
{
    std::vector<StoredConfiguration> all;
    Json::Value list;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    try {
        reader->parse(document.data(), document.data() + document.size(), &list, nullptr);
        for (const Json::Value& entry : list) {
            all.push_back({entry["key"].asString(), entry["config"].asString()});
        }
    } catch (const Json::Exception&) { // the plug-in cannot read what follows either
    }
    return all;
}

} // namespace camera::onvif
