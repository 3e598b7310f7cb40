#pragma once

#include <string>
#include <vector>

namespace camera::onvif {

/// The key of the settings under which the plug-in keeps its configurations.
constexpr const char* kAnalyticsKey = "OnvifAnalytics";

/// The preset for which the plug-in keeps, in the key, what applies where a camera that moves stands at none.
constexpr const char* kAwayFromPresets = "ZintuInternalSimpleAnalyticsPreset";

/// One configuration as the plug-in stores it.
struct StoredConfiguration {
    std::string key; ///< the engine's name and behind it the preset's, if it is for one
    std::string xml; ///< empty: its components were deleted
};

/// What the document of that key holds, as far as it can be read: a list of objects, each with a key and a text.
std::vector<StoredConfiguration> storedConfigurations(const std::string& document);

} // namespace camera::onvif
