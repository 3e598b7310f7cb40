#include "camera/pipeline/ActiveRules.h"

#include "camera/framework/EngineFactory.h"
#include "plugin/analytics/IRuleSet.h"

namespace camera::pipeline {

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
            const std::string preset = each.preset();
            text += (text.empty() ? "" : ", ") + each.engine + (preset.empty() ? "" : " at " + preset);
        }
    }
    return text.empty() ? kNoRules : text;
}

} // namespace camera::pipeline
