#include "settings/RuleSetMap.h"

#include "plugin/analytics/IOnvifAnalytics.h"
#include "plugin/analytics/IRuleSet.h"
#include "ravel/logging.h"

#include <pugixml.hpp>

#include <cstring>

namespace korva::meridan {

using analytics_lib::IOnvifAnalytics;
using analytics_lib::IRuleSet;

namespace {

bool beginsWith(const std::string& text, const std::string& prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0;
}

pugi::xpath_node_set select(const pugi::xpath_query& query, const pugi::xml_document& document)
{
    pugi::xpath_node_set nodes = query.evaluate_node_set(document);
    nodes.sort();
    return nodes;
}

// The items of the whole document count, whichever rule they stand in, so there is one text for all rules.
const char* activeTextOf(const pugi::xml_document& document)
{
    static const pugi::xpath_query items("//*[local-name() = 'SimpleItem']");
    const char* active = "";
    for (const pugi::xpath_node& item : select(items, document)) {
        if (std::strcmp(item.node().attribute("Name").value(), "Active") == 0) {
            active = item.node().attribute("Value").value();
        }
    }
    return active;
}

} // namespace

RuleSetMap::RuleSetMap(void* context) : logContext(context)
{
}

void RuleSetMap::clear()
{
    const std::lock_guard<std::mutex> lock(mutex);
    ruleSets.clear();
}

std::string RuleSetMap::getFullConfig(const std::string& /*key*/)
{
    const std::lock_guard<std::mutex> lock(mutex);
    return {};
}

bool RuleSetMap::setFullConfig(const std::string& /*key*/, const std::string& /*config*/)
{
    const std::lock_guard<std::mutex> lock(mutex);
    return false;
}

std::pair<bool, std::string> RuleSetMap::setConfig(const std::string& key, const std::string& name,
                                                   const std::string& type, const std::string& parameters)
{
    const std::lock_guard<std::mutex> lock(mutex);
    const auto entry = ruleSets.find(key);
    if (entry == ruleSets.end() || entry->second == nullptr) {
        return {false, ""};
    }
    const bool taken = entry->second->setConfig(name, type, parameters);
    return {taken, entry->second->getFullConfig()};
}

std::vector<std::string> RuleSetMap::getAllConfigs()
{
    const std::lock_guard<std::mutex> lock(mutex);
    std::vector<std::string> configs;
    configs.reserve(ruleSets.size());
    for (const auto& entry : ruleSets) {
        configs.push_back(entry.second->getFullConfig());
    }
    return configs;
}

void RuleSetMap::deleteRuleSet(const std::string& key, IOnvifAnalytics* engine)
{
    const std::lock_guard<std::mutex> lock(mutex);
    const auto entry = ruleSets.find(key);
    if (entry == ruleSets.end()) {
        return;
    }
    if (entry->second != nullptr) {
        entry->second->detach();
        engine->releaseRuleSet(entry->second);
    }
    ruleSets.erase(entry);
}

void RuleSetMap::deleteRulesWithPrefix(IOnvifAnalytics* engine, const std::string& prefix)
{
    const std::lock_guard<std::mutex> lock(mutex);
    // Keys with a common beginning stand together, and the prefix itself would be the first of them.
    auto entry = ruleSets.lower_bound(prefix);
    while (entry != ruleSets.end() && beginsWith(entry->first, prefix)) {
        engine->releaseRuleSet(entry->second);
        entry = ruleSets.erase(entry);
    }
}

void RuleSetMap::logRuleNamesFromConfig(const std::string& config)
{
    pugi::xml_document document;
    if (!document.load_string(config.c_str())) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "Failed to parse configuration");
        return;
    }
    static const pugi::xpath_query rules("//tt:Rule");
    const pugi::xpath_node_set found = select(rules, document);
    if (found.empty()) {
        return;
    }
    const char* active = activeTextOf(document);
    for (const pugi::xpath_node& rule : found) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "    Rule: %s active %s",
                               rule.node().attribute("Type").value(), active);
    }
}

bool RuleSetMap::activateRuleSet(IOnvifAnalytics* engine, const std::string& key)
{
    const std::lock_guard<std::mutex> lock(mutex);
    const auto entry = ruleSets.find(key);
    if (entry == ruleSets.end() || entry->second == nullptr) {
        return false;
    }
    ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "%s:reconfig with key %s", __func__, key.c_str());
    logRuleNamesFromConfig(entry->second->getFullConfig());
    const bool activated = engine->activateRuleSet(entry->second);
    if (!activated) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_ERROR, "Failed to activate rule set for '%s' analytics lib",
                               engine->getName().c_str());
    }
    return activated;
}

std::string RuleSetMap::deleteBehavior(const std::string& behavior)
{
    const std::lock_guard<std::mutex> lock(mutex);
    for (const auto& entry : ruleSets) {
        if (entry.second != nullptr && entry.second->deleteBehavior(behavior)) {
            return entry.first;
        }
    }
    return {};
}

template <typename Validate>
bool RuleSetMap::validateUnderLock(IOnvifAnalytics* engine, const std::string& key, const Validate& accepts)
{
    const std::lock_guard<std::mutex> lock(mutex);
    const auto entry = ruleSets.find(key);
    if (entry != ruleSets.end()) {
        return accepts(*entry->second);
    }
    IRuleSet* const fresh = engine->createRuleSet();
    if (fresh == nullptr) {
        return false;
    }
    if (!accepts(*fresh)) {
        engine->releaseRuleSet(fresh);
        return false;
    }
    ruleSets.emplace(key, fresh);
    return true;
}

bool RuleSetMap::validateConfig(IOnvifAnalytics* engine, const std::string& key, const std::string& name,
                                const std::string& type, const std::string& parameters)
{
    return validateUnderLock(engine, key,
                             [&](IRuleSet& ruleSet) { return ruleSet.validateConfig(name, type, parameters); });
}

bool RuleSetMap::validateFullConfig(IOnvifAnalytics* engine, const std::string& key, const std::string& config)
{
    return validateUnderLock(engine, key, [&](IRuleSet& ruleSet) { return ruleSet.validateFullConfig(config); });
}

bool RuleSetMap::restoreFullConfig(IOnvifAnalytics* engine, const std::string& key, const std::string& config)
{
    const std::lock_guard<std::mutex> lock(mutex);
    IRuleSet* const fresh = engine->createRuleSet();
    if (fresh == nullptr) {
        // The quotation mark stays open here and below: log readers match these lines as they are.
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_ERROR,
                               "Failed to create rule set from lib '%s' for saved setting '%s",
                               engine->getName().c_str(), key.c_str());
        return false;
    }
    ruleSets[key] = fresh;
    if (fresh->setFullConfig(config)) {
        return true;
    }
    ravel_core_logging_log(logContext, RAVEL_CORE_LOG_ERROR, "Failed to restore rule set config for saved setting '%s",
                           key.c_str());
    engine->releaseRuleSet(fresh);
    ruleSets.erase(key);
    return false;
}

} // namespace korva::meridan
