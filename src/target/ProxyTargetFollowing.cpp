// Where the camera looks, and which rule sets are active there.

#include "plugin/analytics/IOnvifAnalytics.h"
#include "ravel/logging.h"
#include "target/ProxyTarget.h"

namespace korva::meridan {

namespace {

// The engine of this name has one configuration for every position.
constexpr char kSimple[] = "Simple";

constexpr int kTourStarted = 1;
constexpr unsigned int kLastInterruptingPriority = 499;

} // namespace

std::string ProxyTarget::getActiveSettingsKey(const Engine& engine) const
{
    std::string key;
    if (!inMovement) {
        key = engine->getName();
        if (key != kSimple) {
            key += atPreset ? currentPreset : defaultPresetKey;
        }
    }
    ravel_core_logging_log(logContext, RAVEL_CORE_LOG_DEBUG, "%s: getSettingsKey :%s:", __func__, key.c_str());
    return key;
}

void ProxyTarget::reconfigure(bool simpleOnly)
{
    for (const Engine& engine : analyticLibs) {
        const std::string key = getActiveSettingsKey(engine);
        const std::string name = engine->getName();
        if (simpleOnly && name != kSimple) {
            continue;
        }
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "%s:clearing all rules for %s", __func__, name.c_str());
        engine->clearAllRules();
        ruleSetMap.activateRuleSet(engine.get(), key);
    }
}

// A stop at a preset resumes nothing: the preset's own event follows and does.
void ProxyTarget::handlePositioningMotionStateEvent(bool moving)
{
    inMovement = moving;
    if (!moving && !atPreset) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "%s ---------->Start simple analytics on motion stop",
                               __func__);
        reconfigure(true);
    }
}

// Every command suspends; those that only hold the camera leave the running rules alone until the
// next reconfiguration.
void ProxyTarget::handlePositioningCommandPriorityEvent(unsigned int priority)
{
    inMovement = true;
    if (priority <= kLastInterruptingPriority) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "%s ---------->Stop Analytics", __func__);
        reconfigure(false);
    }
}

void ProxyTarget::handlePresetStateEvent(int state, const std::string& presetName)
{
    if (state == kPresetReached) {
        inMovement = false;
        atPreset = !presetName.empty();
        currentPreset = presetName;
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "%s ---------->Start Analytics for ptz preset %s",
                               __func__, presetName.c_str());
        reconfigure(false);
    } else if (state == kPresetLeft) {
        inMovement = false;
        atPreset = false;
    } else {
        inMovement = true;
        atPreset = false;
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "%s ---------->Stop Analytics", __func__);
        reconfigure(false);
    }
}

// No tour state resumes analytics: arriving at a stop does.
void ProxyTarget::handleTourStateEvent(int tourState, int stopType)
{
    ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO,
                           "====== %s(tour tourState = %d, stop type = %d) ====", __func__, tourState, stopType);
    if (tourState == kTourStarted) {
        inMovement = true;
        reconfigure(false);
    }
}

// The stored document is not rewritten here: until something is saved the preset's configuration
// comes back with the next start.
void ProxyTarget::handlePresetModifiedEvent(const std::string& presetName)
{
    for (const Engine& engine : analyticLibs) {
        if (engine->getName() == kSimple) {
            continue;
        }
        const std::string key = getSettingsKeyFromPresetId(engine, presetName);
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "%s ---------->Delete Analytics ptz preset %s",
                               __func__, key.c_str());
        settings.DeleteSettings(key);
        ruleSetMap.deleteRuleSet(key, engine.get());
    }
}

void ProxyTarget::returnAllRuleSets()
{
    for (const Engine& engine : analyticLibs) {
        engine->clearAllRules();
        ruleSetMap.deleteRulesWithPrefix(engine.get(), engine->getName());
    }
    ruleSetMap.clear();
}

} // namespace korva::meridan
