#pragma once

#include <plugin/analytics/IOnvifAnalytics.h>
#include <plugin/analytics/IRuleSet.h>

#include <memory>
#include <string>
#include <vector>

/// The least that an engine can be: it counts frames and takes every configuration.
class CountingEngine : public analytics_lib::IOnvifAnalytics {
public:
    CountingEngine();

    unsigned int frames = 0;
    unsigned int activations = 0;
    std::string configuration; ///< of the rule set that was filled last

    std::string getName() const override { return "Counting"; }
    bool isEngineConfiguration(const std::string&) override { return true; }
    void setEventHandler(analytics_lib::IEventHandler*) override {}
    bool onFrame(const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs) override;
    std::vector<std::string> getEventTopics() override { return {}; }
    std::vector<std::string> getSupportedEngines() override { return {"tt:CountingModule"}; }
    std::vector<std::string> getSupportedRules() override { return {}; }
    bool readFramesFromFile(const char*, bool) override { return false; }
    bool writeFramesToFile(const char*, unsigned int) override { return false; }
    analytics_lib::IRuleSet* createRuleSet() override;
    void releaseRuleSet(analytics_lib::IRuleSet* ruleSet) override;
    bool activateRuleSet(analytics_lib::IRuleSet* ruleSet) override;
    void clearAllRules() override {}

    ~CountingEngine() override;

private:
    class RuleSet;
    std::vector<std::unique_ptr<RuleSet>> _ruleSets;
};
