#pragma once

#include "plugin/analytics/IOnvifAnalytics.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace hostile {

class PlainRuleSet;

/**
 * An engine named "Plain" that takes everything, so that size is all that a test is about. A rule set keeps the
 * whole configuration that it was given.
 *
 * When memory runs out its operations throw and leave it as it was. It owns what it lends, also what never comes back.
 */
class PlainEngine final : public analytics_lib::IOnvifAnalytics {
public:
    /// kFixed: a component that is set is known by its name and leaves the text alone, so it costs always the same.
    /// kGrowing: the text is the rules of all components that were set.
    enum class Content { kFixed, kGrowing };

    explicit PlainEngine(Content content = Content::kFixed);
    ~PlainEngine() override;

    std::string getName() const override { return "Plain"; }
    bool isEngineConfiguration(const std::string& /*config*/) override { return true; }
    void setEventHandler(analytics_lib::IEventHandler* /*handler*/) override {}
    bool onFrame(const analytics_lib::YuvFrame& /*frame*/, MetadataBuffers& /*outputs*/) override { return true; }
    std::vector<std::string> getEventTopics() override { return {"tns1:RuleEngine/PlainDetector/Motion"}; }
    std::vector<std::string> getSupportedEngines() override { return {"tt:PlainModuleOfTheTests"}; }
    std::vector<std::string> getSupportedRules() override { return {"tt:PlainRuleOfTheTests", "tt:Other"}; }
    bool readFramesFromFile(const char* /*path*/, bool /*flag*/) override { return false; }
    bool writeFramesToFile(const char* /*path*/, unsigned int /*count*/) override { return false; }
    analytics_lib::IRuleSet* createRuleSet() override;
    void releaseRuleSet(analytics_lib::IRuleSet* ruleSet) override;
    bool activateRuleSet(analytics_lib::IRuleSet* ruleSet) override;
    void clearAllRules() override;

    /// Components of this name are refused; by default none.
    std::string refusedName = "no name is refused";

    std::size_t ruleSets() const { return _lent.size(); }
    bool isActive() const { return _active != nullptr; }

private:
    Content _content;
    std::unordered_map<analytics_lib::IRuleSet*, std::unique_ptr<PlainRuleSet>> _lent;
    analytics_lib::IRuleSet* _active = nullptr;
};

/// The text of rules as a whole configuration.
std::string documentOf(const std::string& rules);

} // namespace hostile
