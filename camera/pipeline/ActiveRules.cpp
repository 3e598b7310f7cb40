#include "camera/pipeline/ActiveRules.h"

#include "camera/framework/EngineFactory.h"
#include "camera/onvif/StoredConfigurations.h"
#include "plugin/analytics/IRuleSet.h"

namespace camera::pipeline {

namespace {

std::vector<std::string> namesOf(const std::vector<onvif::ComponentName>& components, bool rules)
{
    std::vector<std::string> names;
    for (const onvif::ComponentName& component : components) {
        if (component.isRule == rules) {
            names.push_back(component.name);
        }
    }
    return names;
}

std::string placeOf(const std::string& preset)
{
    if (preset.empty()) {
        return "";
    }
    return preset == onvif::kAwayFromPresets ? " away from presets" : " at " + preset;
}

} // namespace

std::vector<std::string> ActiveRules::rules() const
{
    return namesOf(components, true);
}

std::vector<std::string> ActiveRules::modules() const
{
    return namesOf(components, false);
}

std::string ActiveRules::preset() const
{
    for (const onvif::ComponentName& component : components) {
        if (!component.preset.empty()) {
            return component.preset;
        }
    }
    return "";
}

std::vector<ActiveRules> activeRules(const framework::EngineFactory& engines)
{
    std::vector<ActiveRules> all;
    for (const auto& record : engines.records()) {
        all.push_back({record->name(), {}});
        if (analytics_lib::IRuleSet* ruleSet = record->activeRuleSet()) {
            all.back().components = onvif::componentsOf(ruleSet->getFullConfig());
        }
    }
    return all;
}

std::string engineOfLongestText(const framework::EngineFactory& engines)
{
    std::size_t longest = 0;
    std::string engine;
    for (const auto& record : engines.records()) {
        analytics_lib::IRuleSet* ruleSet = record->activeRuleSet();
        const std::size_t length = ruleSet != nullptr ? ruleSet->getFullConfig().size() : 0;
        if (length > longest) {
            longest = length;
            engine = ", most of it of engine '" + record->name() + "',";
        }
    }
    return engine;
}

std::string describe(const std::vector<ActiveRules>& rules)
{
    std::string text;
    for (const ActiveRules& each : rules) {
        if (!each.components.empty()) {
            text += (text.empty() ? "" : ", ") + each.engine + placeOf(each.preset());
        }
    }
    return text.empty() ? kNoRules : text;
}

} // namespace camera::pipeline
