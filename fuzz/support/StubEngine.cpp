#include "support/StubEngine.h"

#include "plugin/analytics/IEventHandler.h"
#include "support/StubRuleSet.h"

#include <algorithm>
#include <cstring>

namespace fuzz {

namespace {

// Few enough that an input reaches the engine that can make no more.
constexpr std::size_t kMostRuleSets = 12;

} // namespace

StubEngine::StubEngine(std::string name) : _name(std::move(name))
{
}

StubEngine::~StubEngine() = default;

std::string StubEngine::getName() const
{
    return _name;
}

bool StubEngine::isEngineConfiguration(const std::string& config)
{
    return config.find("tt:" + _name + "Rule") != std::string::npos ||
           config.find("tt:" + _name + "Module") != std::string::npos;
}

void StubEngine::setEventHandler(analytics_lib::IEventHandler* handler)
{
    _handler = handler;
}

bool StubEngine::onFrame(const analytics_lib::YuvFrame& /*frame*/, MetadataBuffers& /*outputs*/)
{
    return true;
}

std::vector<std::string> StubEngine::getEventTopics()
{
    return {"tns1:RuleEngine/" + _name};
}

std::vector<std::string> StubEngine::getSupportedEngines()
{
    return {"tt:" + _name + "Module"};
}

std::vector<std::string> StubEngine::getSupportedRules()
{
    return {"tt:" + _name + "Rule"};
}

bool StubEngine::readFramesFromFile(const char* path, bool flag)
{
    return std::strlen(path) > 0 && flag;
}

bool StubEngine::writeFramesToFile(const char* path, unsigned int count)
{
    return std::strlen(path) > count;
}

analytics_lib::IRuleSet* StubEngine::createRuleSet()
{
    if (_ruleSets.size() == kMostRuleSets) {
        return nullptr;
    }
    _ruleSets.push_back(std::make_unique<StubRuleSet>(_name));
    return _ruleSets.back().get();
}

// Another engine's arrive here too: keys are told apart by their beginning only.
void StubEngine::releaseRuleSet(analytics_lib::IRuleSet* ruleSet)
{
    const auto own = find(ruleSet);
    if (own == _ruleSets.end()) {
        return;
    }
    if (_active == ruleSet) {
        _active = nullptr;
    }
    _ruleSets.erase(own);
}

bool StubEngine::activateRuleSet(analytics_lib::IRuleSet* ruleSet)
{
    if (find(ruleSet) == _ruleSets.end()) {
        return false;
    }
    _active = ruleSet;
    return _active->getFullConfig().find("Dormant") == std::string::npos;
}

void StubEngine::clearAllRules()
{
    _active = nullptr;
}

void StubEngine::raise(const std::string& topic, const std::string& source, const std::string& data)
{
    if (_active != nullptr && _handler != nullptr) {
        _handler->OnEvent(topic, source, data);
    }
}

StubEngine::RuleSets::iterator StubEngine::find(const analytics_lib::IRuleSet* ruleSet)
{
    return std::find_if(_ruleSets.begin(), _ruleSets.end(),
                        [&](const auto& own) { return static_cast<analytics_lib::IRuleSet*>(own.get()) == ruleSet; });
}

} // namespace fuzz
