// What the engines can do and what is configured.

#include "plugin/analytics/IOnvifAnalytics.h"
#include "ravel/logging.h"
#include "target/ProxyTarget.h"
#include "target/ServiceArray.h"

#include <iterator>

namespace korva::meridan {

using analytics_lib::IOnvifAnalytics;

int ProxyTarget::listFromEngines(std::vector<std::string> (IOnvifAnalytics::*capability)(), char*** out)
{
    std::vector<std::string> all;
    for (const Engine& engine : analyticLibs) {
        std::vector<std::string> own = (engine.get()->*capability)();
        all.insert(all.end(), std::make_move_iterator(own.begin()), std::make_move_iterator(own.end()));
    }
    *out = toServiceArray(all);
    return 0;
}

int ProxyTarget::getEventTopics(char*** out)
{
    return listFromEngines(&IOnvifAnalytics::getEventTopics, out);
}

int ProxyTarget::getSupportedRules(char*** out)
{
    return listFromEngines(&IOnvifAnalytics::getSupportedRules, out);
}

int ProxyTarget::getSupportedEngines(char*** out)
{
    return listFromEngines(&IOnvifAnalytics::getSupportedEngines, out);
}

int ProxyTarget::getCurrentRules(char*** out)
{
    return getCurrentBehaviors(true, out);
}

int ProxyTarget::getCurrentEngines(char*** out)
{
    return getCurrentBehaviors(false, out);
}

int ProxyTarget::getCurrentBehaviors(bool rules, char*** out)
{
    std::vector<std::string> found;
    for (const std::string& config : ruleSetMap.getAllConfigs()) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "%s: %s", __func__, config.c_str());
        parseElements(rules, config, found);
    }
    *out = toServiceArray(found);
    return 0;
}

int ProxyTarget::getCurrentConfiguration(char** out)
{
    *out = mergeConfigurations({});
    return 0;
}

int ProxyTarget::getPtzPresetConfiguration(const char* presetId, char** out)
{
    *out = mergeConfigurations(presetId);
    return 0;
}

int ProxyTarget::getUsedPtzPresets(char*** out)
{
    *out = toServiceArray({usedPtzPresets.begin(), usedPtzPresets.end()});
    return 0;
}

} // namespace korva::meridan
