#include "unit/camera_power/StubEngines.h"

#include "plugin/analytics/IOnvifAnalytics.h"
#include "plugin/analytics/IRuleSet.h"

#include <algorithm>
#include <map>
#include <memory>
#include <utility>

using analytics_lib::IOnvifAnalytics;
using analytics_lib::IRuleSet;
using analytics_lib::YuvFrame;

StubEngines& StubEngines::instance()
{
    static StubEngines& engines = *new StubEngines;
    return engines;
}

std::vector<std::string> StubEngines::takeRestored()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    std::sort(_restored.begin(), _restored.end());
    return std::exchange(_restored, {});
}

void StubEngines::noteRestored(const std::string& config)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _restored.push_back(config);
}

void StubEngines::noteCall() const
{
    if (onCall) {
        onCall();
    }
}

namespace {

constexpr const char* kNames[] = {"Line", "Motion"};

class StubRuleSet final : public IRuleSet {
public:
    explicit StubRuleSet(std::string engine) : _engine(std::move(engine)) {}

    bool validateFullConfig(const std::string& /*config*/) override { return true; }
    bool validateConfig(const std::string& /*name*/, const std::string& type, const std::string& /*values*/) override
    {
        return type.find(_engine) != std::string::npos;
    }
    bool setConfig(const std::string& name, const std::string& type, const std::string& parameters) override
    {
        StubEngines::instance().noteCall();
        _whole.clear();
        _rules[name] = "<tt:Rule Name=\"" + name + "\" Type=\"" + type + "\">" + parameters + "</tt:Rule>";
        return true;
    }
    bool detach() override { return true; }
    bool deleteBehavior(const std::string& name) override
    {
        StubEngines::instance().noteCall();
        if (_rules.erase(name) != 0) {
            return true;
        }
        const bool held = _whole.find("\"" + name + "\"") != std::string::npos;
        if (held) {
            _whole.clear();
        }
        return held;
    }
    bool setFullConfig(const std::string& config) override
    {
        StubEngines::instance().noteCall();
        StubEngines::instance().noteRestored(config);
        _rules.clear();
        _whole = config;
        return true;
    }
    std::string getFullConfig() override
    {
        if (_rules.empty()) {
            return _whole;
        }
        std::string config = IOnvifAnalytics::kVideoAnalyticHeader + IOnvifAnalytics::kRuleConfigHeader;
        for (const auto& rule : _rules) {
            config += rule.second;
        }
        return config + IOnvifAnalytics::kRuleConfigFooter + IOnvifAnalytics::kVideoAnalyticFooter;
    }

private:
    const std::string _engine;
    std::map<std::string, std::string> _rules;
    std::string _whole;
};

class StubEngine final : public IOnvifAnalytics {
public:
    explicit StubEngine(std::string name) : _name(std::move(name)) {}

    std::string getName() const override { return _name; }
    bool isEngineConfiguration(const std::string& config) override
    {
        return config.find("for=\"" + _name + "\"") != std::string::npos;
    }
    void setEventHandler(analytics_lib::IEventHandler* /*handler*/) override {}
    bool onFrame(const YuvFrame& /*frame*/, MetadataBuffers& /*outputs*/) override { return true; }
    std::vector<std::string> getEventTopics() override { return {}; }
    std::vector<std::string> getSupportedEngines() override { return {}; }
    std::vector<std::string> getSupportedRules() override { return {"tt:" + _name + "Rule"}; }
    bool readFramesFromFile(const char* /*path*/, bool /*flag*/) override { return false; }
    bool writeFramesToFile(const char* /*path*/, unsigned int /*count*/) override { return false; }
    IRuleSet* createRuleSet() override
    {
        _ruleSets.push_back(std::make_unique<StubRuleSet>(_name));
        return _ruleSets.back().get();
    }
    void releaseRuleSet(IRuleSet* ruleSet) override
    {
        _ruleSets.erase(std::remove_if(_ruleSets.begin(), _ruleSets.end(),
                                       [ruleSet](const auto& owned) { return owned.get() == ruleSet; }),
                        _ruleSets.end());
    }
    bool activateRuleSet(IRuleSet* /*ruleSet*/) override
    {
        StubEngines::instance().noteCall();
        return true;
    }
    void clearAllRules() override { StubEngines::instance().noteCall(); }

private:
    const std::string _name;
    std::vector<std::unique_ptr<StubRuleSet>> _ruleSets;
};

} // namespace

camera::framework::EngineSource StubEngines::source()
{
    return [](void* /*logContext*/, const auto& /*ptz*/) {
        camera::framework::Engines engines;
        for (const char* name : kNames) {
            engines.push_back(std::make_shared<StubEngine>(name));
        }
        return engines;
    };
}
