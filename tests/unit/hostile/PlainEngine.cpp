#include "PlainEngine.h"

#include "plugin/analytics/IRuleSet.h"

#include <map>

namespace hostile {

using analytics_lib::IOnvifAnalytics;
using analytics_lib::IRuleSet;

class PlainRuleSet final : public IRuleSet {
public:
    PlainRuleSet(const PlainEngine& engine, bool grows) : _engine(engine), _grows(grows) {}

    bool validateFullConfig(const std::string& /*config*/) override { return true; }
    bool validateConfig(const std::string& name, const std::string& /*type*/,
                        const std::string& /*parameters*/) override
    {
        return name != _engine.refusedName;
    }
    bool setConfig(const std::string& name, const std::string& type, const std::string& parameters) override;
    bool detach() override { return true; }
    bool deleteBehavior(const std::string& name) override { return _components.erase(name) != 0; }
    bool setFullConfig(const std::string& config) override;
    std::string getFullConfig() override;

private:
    const PlainEngine& _engine;
    const bool _grows;
    std::string _text = documentOf("");
    std::map<std::string, std::string> _components;
};

bool PlainRuleSet::setConfig(const std::string& name, const std::string& type, const std::string& parameters)
{
    std::string element;
    if (_grows) {
        element = "<tt:Rule Name=\"" + name + "\" Type=\"" + type + "\">" + parameters + "</tt:Rule>";
    }
    _components.insert_or_assign(name, element);
    return true;
}

bool PlainRuleSet::setFullConfig(const std::string& config)
{
    _text = config;
    _components.clear();
    return true;
}

std::string PlainRuleSet::getFullConfig()
{
    if (!_grows || _components.empty()) {
        return _text;
    }
    std::string rules;
    for (const auto& component : _components) {
        rules += component.second;
    }
    return documentOf(rules);
}

PlainEngine::PlainEngine(Content content) : _content(content)
{
}

PlainEngine::~PlainEngine() = default;

IRuleSet* PlainEngine::createRuleSet()
{
    auto ruleSet = std::make_unique<PlainRuleSet>(*this, _content == Content::kGrowing);
    PlainRuleSet* const lent = ruleSet.get();
    _lent.try_emplace(lent, std::move(ruleSet));
    return lent;
}

void PlainEngine::releaseRuleSet(IRuleSet* ruleSet)
{
    if (_active == ruleSet) {
        _active = nullptr;
    }
    _lent.erase(ruleSet);
}

bool PlainEngine::activateRuleSet(IRuleSet* ruleSet)
{
    _active = _lent.count(ruleSet) != 0 ? ruleSet : nullptr;
    return _active != nullptr;
}

void PlainEngine::clearAllRules()
{
    _active = nullptr;
}

std::string documentOf(const std::string& rules)
{
    return IOnvifAnalytics::kVideoAnalyticHeader + IOnvifAnalytics::kRuleConfigHeader + rules +
           IOnvifAnalytics::kRuleConfigFooter + IOnvifAnalytics::kVideoAnalyticFooter;
}

} // namespace hostile
