#include "kit/Story.h"

namespace kit {

namespace {

void append(Lines& lines, const Lines& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
}

std::string numbered(int ruleSet)
{
    return "#" + std::to_string(ruleSet);
}

bool beginsWith(const std::string& text, const std::string& beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

} // namespace

Lines joined(std::initializer_list<Lines> parts)
{
    Lines all;
    for (const Lines& part : parts) {
        append(all, part);
    }
    return all;
}

std::string activeKeyLine(const std::string& key)
{
    return "log 7 \"getActiveSettingsKey: getSettingsKey :" + key + ":\"";
}

std::string clearingLine(const std::string& engine)
{
    return "log 6 \"reconfigure:clearing all rules for " + engine + "\"";
}

std::string activatingLine(const std::string& key)
{
    return "log 6 \"activateRuleSet:reconfig with key " + key + "\"";
}

Lines cleared(const std::string& engine, const std::string& key)
{
    return {activeKeyLine(key), clearingLine(engine), "clearAllRules " + engine};
}

Lines stopped(std::initializer_list<std::string> engines)
{
    Lines lines;
    for (const std::string& engine : engines) {
        append(lines, cleared(engine, ""));
    }
    return lines;
}

Lines activated(const std::string& engine, const std::string& key, int ruleSet, const Lines& contents)
{
    return joined({cleared(engine, key),
                   {activatingLine(key), numbered(ruleSet) + " getFullConfig"},
                   contents,
                   {"activateRuleSet " + engine + " " + numbered(ruleSet) + " -> true"}});
}

Lines refusedByNewRuleSet(const std::string& engine, int ruleSet, const std::string& component,
                          const std::string& keyLine)
{
    return {keyLine, "createRuleSet " + engine + " -> " + numbered(ruleSet),
            numbered(ruleSet) + " validateConfig(" + component + ") -> false",
            "releaseRuleSet " + engine + " " + numbered(ruleSet)};
}

StartStory& StartStory::engines(std::initializer_list<std::string> names)
{
    _engines = names;
    return *this;
}

StartStory& StartStory::restores(std::initializer_list<std::string> keys)
{
    for (const std::string& key : keys) {
        restore(key, Outcome::kTaken);
    }
    return *this;
}

StartStory& StartStory::restore(const std::string& key, Outcome outcome)
{
    _keys.emplace_back(key, outcome);
    return *this;
}

StartStory& StartStory::atPreset(const std::string& preset)
{
    _preset = preset;
    return *this;
}

StartStory& StartStory::devices(Lines lines)
{
    _devices = std::move(lines);
    return *this;
}

StartStory& StartStory::orientation(int degrees)
{
    _orientation = degrees;
    return *this;
}

Lines StartStory::restored(std::vector<RuleSet>& ruleSets) const
{
    Lines lines;
    int number = 0;
    for (const std::string& engine : _engines) {
        lines.push_back("setEventHandler " + engine);
        for (const auto& [key, outcome] : _keys) {
            if (!beginsWith(key, engine)) {
                continue;
            }
            if (outcome == Outcome::kNoRuleSet) {
                append(lines,
                       {"createRuleSet " + engine + " -> null", "log 3 \"Failed to create rule set from lib '" +
                                                                    engine + "' for saved setting '" + key + "\""});
                continue;
            }
            const std::string name = numbered(++number);
            append(lines, {"createRuleSet " + engine + " -> " + name,
                           name + " setFullConfig -> " + (outcome == Outcome::kTaken ? "true" : "false")});
            if (outcome == Outcome::kTaken) {
                ruleSets.push_back({engine, key, number});
            } else {
                append(lines, {"log 3 \"Failed to restore rule set config for saved setting '" + key + "\"",
                               "releaseRuleSet " + engine + " " + name});
            }
        }
    }
    return lines;
}

Lines StartStory::reconfigured(const std::vector<RuleSet>& ruleSets) const
{
    Lines lines;
    for (const std::string& engine : _engines) {
        const std::string key = _movable && engine != "Simple" ? engine + kAway : engine;
        Lines ofEngine = cleared(engine, key);
        for (const RuleSet& ruleSet : ruleSets) {
            if (ruleSet.engine == engine && ruleSet.key == key) {
                ofEngine = activated(engine, key, ruleSet.number);
            }
        }
        append(lines, ofEngine);
    }
    return lines;
}

Lines StartStory::positioned(const std::vector<RuleSet>& ruleSets) const
{
    if (!_movable) {
        return {};
    }
    Lines lines = {"getActivePreset false -> " + _preset};
    if (_preset.empty()) {
        lines.emplace_back("log 6 \"handlePresetStateEvent ---------->Start Analytics for ptz preset \"");
        append(lines, reconfigured(ruleSets));
    }
    append(lines, {"registerMotionState", "registerCommandPriority", "registerPresetState", "registerPresetModified",
                   "registerTourState"});
    return lines;
}

Lines StartStory::lines() const
{
    std::vector<RuleSet> ruleSets;
    Lines lines = {"filterConstructed", "loggingInit DETECTION -> 0",
                   "getSupportedAnalyticsLibs -> " + std::to_string(_engines.size()),
                   "settingsSetDefault OnvifAnalytics [] -> 0", "settingsGetJson OnvifAnalytics -> 0"};
    append(lines, restored(ruleSets));
    append(lines, reconfigured(ruleSets));
    append(lines, positioned(ruleSets));
    append(lines, _devices.empty() ? missingDevices() : _devices);
    lines.emplace_back("log 6 \"rotation call back\"");
    for (const std::string& engine : _engines) {
        lines.push_back("onOrientationChanged " + engine + " " + std::to_string(_orientation));
    }
    append(lines, {"startServing onvif_analytic_service", "log 7 \"DetectionPlugin::DetectionPlugin\""});
    return lines;
}

StartStory fixedCamera()
{
    return StartStory(false);
}

StartStory movableCamera()
{
    return StartStory(true);
}

Lines missingDevices()
{
    return {"getTargetIds day_night -> false",
            "log 3 \"initializeDayNightEvents: day_night service not found\"",
            "getTargetIds window_blanking -> false",
            "log 3 \"initializeWindowBlankingEvents: window_blanking service not found\"",
            "getTargetIds rotate -> false",
            "log 6 \"initializeRotationEvents: rotation service not found\"",
            "configurationGetInt default_analytics_rotation -> 2",
            "log 3 \"Failed to get default rotation position: status text 2\""};
}

} // namespace kit
