// Single rules and modules, and the document that joins the engines' configurations.

#include "plugin/analytics/IOnvifAnalytics.h"
#include "ravel/logging.h"
#include "target/ConfigurationXml.h"
#include "target/ProxyTarget.h"
#include "target/ServiceArray.h"

#include <algorithm>
#include <cstring>

namespace korva::meridan {

using analytics_lib::IOnvifAnalytics;

namespace {

constexpr unsigned int kDone = 0;
constexpr unsigned int kCutShort = 1;
constexpr unsigned int kRefused = 4;
constexpr unsigned int kNotFound = 5;

void append(std::string& text, const std::vector<std::string>& elements)
{
    for (const std::string& element : elements) {
        text += element;
    }
}

} // namespace

int ProxyTarget::modifyConfiguration(char** items, unsigned int* status, bool modules)
{
    *status = kCutShort;
    const std::vector<std::string> texts = fromServiceArray(items);
    const char* const elementName = modules ? kModuleElement : kRuleElement;

    std::vector<Modification> accepted;
    const bool valid = std::all_of(texts.begin(), texts.end(),
                                   [&](const std::string& text) { return validateItem(text, elementName, accepted); });
    if (!valid) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_ERROR, "not a valid component");
    }
    const bool stored = valid && store(accepted);
    reconfigure(false);
    *status = stored ? kDone : kRefused;
    return 0;
}

// The first engine that accepts the item takes it. Each engine that is asked leaves the item's
// preset among the used ones, and a rule set in the map when it accepted.
bool ProxyTarget::validateItem(const std::string& item, const char* elementName, std::vector<Modification>& accepted)
{
    pugi::xml_document document;
    if (!document.load_string(item.c_str())) {
        return false;
    }
    const pugi::xml_node element = document.child(elementName);
    Modification record;
    record.type = element.attribute("Type").value();
    record.name = element.attribute("Name").value();
    record.parameters = printRaw(element.child(kParametersElement));
    for (const Engine& engine : analyticLibs) {
        record.key = getSettingsKeyFromConfig(engine, record.parameters);
        if (ruleSetMap.validateConfig(engine.get(), record.key, record.name, record.type, record.parameters)) {
            accepted.push_back(std::move(record));
            return true;
        }
    }
    return false;
}

// One that fails does not keep the others from being stored.
bool ProxyTarget::store(const std::vector<Modification>& modifications)
{
    bool allStored = true;
    for (const Modification& record : modifications) {
        const auto [taken, config] = ruleSetMap.setConfig(record.key, record.name, record.type, record.parameters);
        if (taken) {
            settings.AddOrModifyBehaviorSetting(record.key, config);
        } else {
            allStored = false;
        }
    }
    return allStored;
}

int ProxyTarget::deleteBehaviorSetting(char** names, unsigned int* status)
{
    bool allFound = true;
    std::vector<std::string> keys;
    for (const std::string& name : fromServiceArray(names)) {
        const std::string key = ruleSetMap.deleteBehavior(name);
        if (key.empty()) {
            allFound = false;
        } else {
            keys.push_back(key);
        }
    }
    for (const std::string& key : keys) {
        if (allFound) {
            settings.AddOrModifyBehaviorSetting(key, ruleSetMap.getFullConfig(key));
        } else {
            ruleSetMap.setFullConfig(key, settings.GetSetting(key));
        }
    }
    if (!keys.empty()) {
        reconfigure(false);
    }
    *status = allFound ? kDone : kNotFound;
    return 0;
}

char* ProxyTarget::mergeConfigurations(const std::string& presetId)
{
    std::vector<std::string> rules;
    std::vector<std::string> modules;
    for (const Engine& engine : analyticLibs) {
        const std::string key =
            presetId.empty() ? getActiveSettingsKey(engine) : getSettingsKeyFromPresetId(engine, presetId);
        const std::string config = settings.GetSetting(key);
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "%s Key %s: config %s", __func__, key.c_str(),
                               config.c_str());
        parseElements(true, config, rules);
        parseElements(false, config, modules);
    }
    std::string merged = IOnvifAnalytics::kVideoAnalyticHeader;
    merged += IOnvifAnalytics::kEngineConfigHeader;
    append(merged, modules);
    merged += IOnvifAnalytics::kEngineConfigFooter;
    merged += IOnvifAnalytics::kRuleConfigHeader;
    append(merged, rules);
    merged += IOnvifAnalytics::kRuleConfigFooter;
    merged += IOnvifAnalytics::kVideoAnalyticFooter;
    return strdup(merged.c_str());
}

} // namespace korva::meridan
