// Whole configurations: whose they are, under which key they are kept, and when they become active.

#include "plugin/analytics/IOnvifAnalytics.h"
#include "ravel/logging.h"
#include "target/ConfigurationXml.h"
#include "target/ProxyTarget.h"

#include <algorithm>

namespace korva::meridan {

using analytics_lib::IOnvifAnalytics;

namespace {

// A text that cannot be read again is stored as nothing.
std::string compact(const std::string& config)
{
    pugi::xml_document document;
    if (!document.load_string(config.c_str())) {
        return {};
    }
    return printRaw(document, config.size());
}

} // namespace

int ProxyTarget::setConfiguration(const char* config, unsigned char* failed)
{
    *failed = 1;
    ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "setConfiguration config %s", config);

    const std::string text(config);
    const auto owner = std::find_if(analyticLibs.begin(), analyticLibs.end(),
                                    [&](const Engine& engine) { return engine->isEngineConfiguration(text); });
    if (owner == analyticLibs.end()) {
        return 0;
    }
    const Engine& engine = *owner;
    const std::string key = getSettingsKeyFromConfig(engine, text);
    if (key.empty()) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_ERROR, "Analytics setConfiguration got non-hashable key");
        return 1;
    }
    if (!ruleSetMap.validateFullConfig(engine.get(), key, text)) {
        return 1;
    }
    if (!ruleSetMap.restoreFullConfig(engine.get(), key, text)) {
        return 0;
    }
    settings.AddOrModifyBehaviorSetting(key, compact(text));

    if (getActiveSettingsKey(engine) == key) {
        engine->clearAllRules();
        *failed = ruleSetMap.activateRuleSet(engine.get(), key) ? 0 : 1;
    } else {
        *failed = 0;
    }
    return 0;
}

std::string ProxyTarget::getSettingsKeyFromConfig(const Engine& engine, std::string config)
{
    pugi::xml_document document;
    if (!document.load_string(config.c_str())) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_ERROR, "FAILED ANALYTICS CONFIG: Failed to parse config %s",
                               config.c_str());
        return {};
    }
    static const pugi::xpath_query presetItems("//*[local-name()='SimpleItem' and @Name='PtzPreset']");
    pugi::xpath_node_set items = presetItems.evaluate_node_set(document);
    items.sort();

    std::string preset;
    for (const pugi::xpath_node& item : items) {
        const char* const value = item.node().attribute("Value").value();
        if (preset.empty()) {
            preset = value;
        } else if (preset != value) {
            ravel_core_logging_log(logContext, RAVEL_CORE_LOG_ERROR,
                                   "Analytics Config Fail: Got config with two different ptzPresets %s:%s",
                                   preset.c_str(), value);
            return {};
        }
    }
    ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "Analytics settings key ptzPreset is %s", preset.c_str());
    if (!preset.empty()) {
        usedPtzPresets.insert(preset);
    }
    // Also for "Simple", whose active key never carries a preset: such a configuration is kept but
    // no position makes it active.
    return engine->getName() + preset;
}

std::string ProxyTarget::getSettingsKeyFromPresetId(const Engine& engine, const std::string& presetId)
{
    return engine->getName() + presetId;
}

void ProxyTarget::parseElements(bool rules, const std::string& config, std::vector<std::string>& out)
{
    pugi::xml_document document;
    if (!document.load_string(config.c_str())) {
        return;
    }
    const std::string& listTag = rules ? IOnvifAnalytics::kRuleConfigTag : IOnvifAnalytics::kEngineConfigTag;
    const pugi::xml_node list = document.child(IOnvifAnalytics::kVideoAnalyticTag.c_str()).child(listTag.c_str());
    for (const pugi::xml_node& element : list.children(rules ? kRuleElement : kModuleElement)) {
        out.push_back(printRaw(element));
    }
}

} // namespace korva::meridan
