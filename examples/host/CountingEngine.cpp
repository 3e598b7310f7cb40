#include "CountingEngine.h"

#include <algorithm>

class CountingEngine::RuleSet final : public analytics_lib::IRuleSet {
public:
    explicit RuleSet(std::string& configuration) : _configuration(configuration) {}

    bool validateFullConfig(const std::string&) override { return true; }
    bool validateConfig(const std::string&, const std::string&, const std::string&) override { return true; }
    bool setConfig(const std::string&, const std::string&, const std::string&) override { return true; }
    bool detach() override { return true; }
    bool deleteBehavior(const std::string&) override { return false; }
    bool setFullConfig(const std::string& config) override
    {
        _configuration = config;
        return true;
    }
    std::string getFullConfig() override { return _configuration; }

private:
    std::string& _configuration;
};

CountingEngine::CountingEngine() = default;
CountingEngine::~CountingEngine() = default;

bool CountingEngine::onFrame(const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs)
{
    ++frames;
    outputs.metadataXml += "<frame width=\"" + std::to_string(frame.width) + "\"/>";
    return true;
}

analytics_lib::IRuleSet* CountingEngine::createRuleSet()
{
    _ruleSets.push_back(std::make_unique<RuleSet>(configuration));
    return _ruleSets.back().get();
}

void CountingEngine::releaseRuleSet(analytics_lib::IRuleSet* ruleSet)
{
    const auto isIt = [ruleSet](const auto& own) { return own.get() == ruleSet; };
    _ruleSets.erase(std::remove_if(_ruleSets.begin(), _ruleSets.end(), isIt), _ruleSets.end());
}

bool CountingEngine::activateRuleSet(analytics_lib::IRuleSet* ruleSet)
{
    ++activations;
    return ruleSet != nullptr;
}
