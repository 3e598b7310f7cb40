#pragma once

#include "plugin/analytics/IOnvifAnalytics.h"

#include <memory>
#include <string>
#include <vector>

namespace fuzz {

class StubRuleSet;

/**
 * An engine that looks at no frame and owns the rule sets that it lends, also those that never come back: they
 * end with it. Documents whose text contains "tt:", its name and "Rule" or "Module" are its own.
 */
class StubEngine : public analytics_lib::IOnvifAnalytics {
public:
    explicit StubEngine(std::string name);
    ~StubEngine() override;

    std::string getName() const override;
    bool isEngineConfiguration(const std::string& config) override;
    void setEventHandler(analytics_lib::IEventHandler* handler) override;
    bool onFrame(const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs) override;
    std::vector<std::string> getEventTopics() override;
    std::vector<std::string> getSupportedEngines() override;
    std::vector<std::string> getSupportedRules() override;
    bool readFramesFromFile(const char* path, bool flag) override;
    bool writeFramesToFile(const char* path, unsigned int count) override;
    analytics_lib::IRuleSet* createRuleSet() override;
    void releaseRuleSet(analytics_lib::IRuleSet* ruleSet) override;
    bool activateRuleSet(analytics_lib::IRuleSet* ruleSet) override;
    void clearAllRules() override;

    /// Raises an event while a rule set is active.
    void raise(const std::string& topic, const std::string& source, const std::string& data);

private:
    using RuleSets = std::vector<std::unique_ptr<StubRuleSet>>;

    RuleSets::iterator find(const analytics_lib::IRuleSet* ruleSet);

    std::string _name;
    RuleSets _ruleSets;
    analytics_lib::IRuleSet* _active = nullptr;
    analytics_lib::IEventHandler* _handler = nullptr;
};

} // namespace fuzz
