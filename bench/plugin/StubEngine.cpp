#include "bench/plugin/StubEngine.h"

#include "plugin/analytics/factory.h"

#include <benchmark/benchmark.h>

namespace bench {

namespace {

// Rule sets with the same text share it: an accepted configuration leaves one rule set behind, and
// the memory of those is not what is measured.
std::shared_ptr<const std::string> shared(const std::string& config)
{
    static std::shared_ptr<const std::string> last = std::make_shared<std::string>();
    if (*last != config) {
        last = std::make_shared<std::string>(config);
    }
    return last;
}

class StubRuleSet final : public analytics_lib::IRuleSet {
public:
    bool validateFullConfig(const std::string& /*config*/) override { return true; }
    bool validateConfig(const std::string& /*name*/, const std::string& /*type*/,
                        const std::string& /*parameters*/) override
    {
        return true;
    }
    bool setConfig(const std::string& /*name*/, const std::string& /*type*/, const std::string& /*parameters*/) override
    {
        return true;
    }
    bool detach() override { return true; }
    bool deleteBehavior(const std::string& /*name*/) override { return false; }
    bool setFullConfig(const std::string& config) override
    {
        _config = shared(config);
        return true;
    }
    std::string getFullConfig() override { return *_config; }

private:
    std::shared_ptr<const std::string> _config = shared({});
};

} // namespace

bool StubEngine::onFrame(const analytics_lib::YuvFrame& frame, MetadataBuffers& /*outputs*/)
{
    benchmark::DoNotOptimize(frame.data);
    return true;
}

analytics_lib::IRuleSet* StubEngine::createRuleSet()
{
    auto ruleSet = std::make_unique<StubRuleSet>();
    _lent.insert(ruleSet.get());
    return ruleSet.release();
}

void StubEngine::releaseRuleSet(analytics_lib::IRuleSet* ruleSet)
{
    if (_lent.erase(ruleSet) != 0) {
        delete static_cast<StubRuleSet*>(ruleSet);
    }
}

} // namespace bench

namespace analytics_lib {

const std::string IOnvifAnalytics::kVideoAnalyticTag("tt:VideoAnalyticsConfiguration");
const std::string IOnvifAnalytics::kVideoAnalyticHeader("<tt:VideoAnalyticsConfiguration>");
const std::string IOnvifAnalytics::kVideoAnalyticFooter("</tt:VideoAnalyticsConfiguration>");
const std::string IOnvifAnalytics::kEngineConfigTag("tt:AnalyticsEngineConfiguration");
const std::string IOnvifAnalytics::kEngineConfigHeader("<tt:AnalyticsEngineConfiguration>");
const std::string IOnvifAnalytics::kEngineConfigFooter("</tt:AnalyticsEngineConfiguration>");
const std::string IOnvifAnalytics::kRuleConfigTag("tt:RuleEngineConfiguration");
const std::string IOnvifAnalytics::kRuleConfigHeader("<tt:RuleEngineConfiguration>");
const std::string IOnvifAnalytics::kRuleConfigFooter("</tt:RuleEngineConfiguration>");

std::vector<std::shared_ptr<IOnvifAnalytics>> GetSupportedAnalyticsLibs(void* /*logContext*/,
                                                                        std::shared_ptr<IAnalyticsPtz> /*ptz*/)
{
    return {std::make_shared<bench::StubEngine>()};
}

} // namespace analytics_lib
