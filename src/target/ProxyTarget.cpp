#include "target/ProxyTarget.h"

#include "plugin/analytics/IOnvifAnalytics.h"
#include "ravel/logging.h"

namespace korva::meridan {

namespace {

// Stored keys hold this suffix, so it can never change.
constexpr char kAwayFromPresets[] = "ZintuInternalSimpleAnalyticsPreset";

} // namespace

ProxyTarget::ProxyTarget(void* context, bool positioningAvailable)
    : logContext(context), ruleSetMap(context), settings(context)
{
    if (positioningAvailable) {
        defaultPresetKey = kAwayFromPresets;
    }
}

ProxyTarget::~ProxyTarget()
{
    returnAllRuleSets();
}

void ProxyTarget::registerEventCallback(EventCallback callback, void* context)
{
    eventCallback = callback;
    eventCallbackContext = context;
}

void ProxyTarget::OnEvent(const std::string& topic, const std::string& source, const std::string& data)
{
    ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "Generating event for %s", source.c_str());
    eventCallback(eventCallbackContext, topic, source, data);
}

void ProxyTarget::setAnalyticLibs(const std::vector<Engine>& engines)
{
    returnAllRuleSets();
    const std::vector<std::string> keys = settings.GetAllKeys();
    analyticLibs = engines;
    for (const Engine& engine : analyticLibs) {
        engine->setEventHandler(this);
        for (const std::string& key : keys) {
            // The beginning of the key is all there is to tell whose it is: one key may be restored
            // for several engines.
            const std::string name = engine->getName();
            if (key.compare(0, name.size(), name) == 0) {
                ruleSetMap.restoreFullConfig(engine.get(), key, settings.GetSetting(key));
            }
        }
    }
    reconfigure(false);
}

int ProxyTarget::restoreDefaultSettings()
{
    returnAllRuleSets();
    return 0;
}

} // namespace korva::meridan
