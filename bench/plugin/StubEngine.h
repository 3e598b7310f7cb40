#pragma once

#include "plugin/analytics/IOnvifAnalytics.h"
#include "plugin/analytics/IRuleSet.h"

#include <memory>
#include <set>

namespace bench {

/// Accepts everything, keeps each rule set's text and looks at no frame.
class StubEngine final : public analytics_lib::IOnvifAnalytics {
public:
    std::string getName() const override { return "Stub"; }
    bool isEngineConfiguration(const std::string& /*config*/) override { return true; }
    void setEventHandler(analytics_lib::IEventHandler* /*handler*/) override {}
    bool onFrame(const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs) override;
    std::vector<std::string> getEventTopics() override { return {}; }
    std::vector<std::string> getSupportedEngines() override { return {}; }
    std::vector<std::string> getSupportedRules() override { return {}; }
    bool readFramesFromFile(const char* /*path*/, bool /*flag*/) override { return false; }
    bool writeFramesToFile(const char* /*path*/, unsigned int /*count*/) override { return false; }
    analytics_lib::IRuleSet* createRuleSet() override;
    void releaseRuleSet(analytics_lib::IRuleSet* ruleSet) override;
    bool activateRuleSet(analytics_lib::IRuleSet* /*ruleSet*/) override { return true; }
    void clearAllRules() override {}

private:
    std::set<analytics_lib::IRuleSet*> _lent;
};

} // namespace bench
