#include "camera/pipeline/FactoryConfiguration.h"

#include "camera/base/PluginPath.h"
#include "camera/engines/EngineNames.h"
#include "camera/framework/EngineFactory.h"
#include "camera/onvif/ConfigurationFile.h"
#include "camera/onvif/StoredConfigurations.h"
#include "camera/onvif/XmlText.h"
#include "camera/pipeline/CameraBuilder.h"
#include "camera/ptz/PositioningUnit.h"
#include "camera/serviceapi/ServiceApi.h"

#include <pugixml.hpp>

#include <algorithm>
#include <exception>

namespace camera::pipeline {

namespace {

using Stored = std::vector<onvif::StoredConfiguration>;

// No engine's name begins with another's.
bool isConfigured(const std::string& engine, const Stored& stored)
{
    return std::any_of(stored.begin(), stored.end(), [&engine](const onvif::StoredConfiguration& each) {
        return each.key.compare(0, engine.size(), engine) == 0;
    });
}

// The modules of a configuration, for a preset.
std::string forPreset(const std::string& xml, const std::string& preset)
{
    pugi::xml_document document;
    document.load_string(xml.c_str());
    for (const pugi::xpath_node& list : document.select_nodes("//tt:AnalyticsModule/tt:Parameters")) {
        pugi::xml_node item = list.node().prepend_child("tt:SimpleItem");
        item.append_attribute("Name") = "PtzPreset";
        item.append_attribute("Value") = preset.c_str();
    }
    return onvif::printed(document);
}

std::string placeOf(Device& device, const std::string& engine)
{
    if (engine == engines::kSimpleEngine) {
        return "";
    }
    const std::string preset = device.positioning().activePreset();
    return preset.empty() ? onvif::kAwayFromPresets : preset;
}

} // namespace

std::vector<std::string> giveFactoryConfiguration(Device& device, bool moves,
                                                  const std::filesystem::path& programFolder)
{
    const Stored stored =
        onvif::storedConfigurations(device.serviceApi().settings.read(onvif::kAnalyticsKey).value_or(""));
    std::vector<std::string> refused;
    for (const auto& engine : device.engines().records()) {
        const std::string file = base::sharedFile("factory/" + engine->name() + ".xml", programFolder);
        if (file.empty() || isConfigured(engine->name(), stored)) {
            continue;
        }
        try {
            const std::string xml = onvif::readConfiguration(file);
            const std::string preset = moves ? placeOf(device, engine->name()) : "";
            configure(device, preset.empty() ? xml : forPreset(xml, preset), file);
        } catch (const std::exception& error) {
            refused.emplace_back(error.what());
        }
    }
    return refused;
}

} // namespace camera::pipeline
