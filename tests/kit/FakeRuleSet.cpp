#include "kit/FakeRuleSet.h"

#include "kit/FakeEngine.h"
#include "kit/Journal.h"

#include <pugixml.hpp>

#include <algorithm>
#include <sstream>

namespace kit {

namespace {

using analytics_lib::IOnvifAnalytics;

std::string printed(const pugi::xml_node& node)
{
    std::ostringstream text;
    node.print(text, "", pugi::format_raw);
    return text.str();
}

std::vector<Component> componentsOf(const pugi::xml_node& list, const char* element)
{
    std::vector<Component> components;
    for (const pugi::xml_node& node : list.children(element)) {
        components.push_back(
            {node.attribute("Name").value(), node.attribute("Type").value(), printed(node.child("tt:Parameters"))});
    }
    return components;
}

std::string listText(const std::string& tag, const char* element, const std::vector<Component>& components)
{
    std::string text = "<" + tag + ">";
    for (const Component& component : components) {
        text += std::string("<") + element + " Name=\"" + component.name + "\" Type=\"" + component.type + "\">" +
                component.parameters + "</" + element + ">";
    }
    return text + "</" + tag + ">";
}

bool eraseNamed(std::vector<Component>& components, const std::string& name)
{
    const auto last = std::remove_if(components.begin(), components.end(),
                                     [&](const Component& component) { return component.name == name; });
    const bool found = last != components.end();
    components.erase(last, components.end());
    return found;
}

} // namespace

FakeRuleSet::FakeRuleSet(FakeEngine& engine, int id) : _engine(engine), _id(id)
{
}

FakeRuleSet::~FakeRuleSet() = default;

bool FakeRuleSet::usable(const char* call) const
{
    if (_released) {
        journal().add(Part::RuleSet, "#", _id, " ", call, " used after release");
        return false;
    }
    _engine.reached(std::string("ruleSet.") + call);
    return true;
}

bool FakeRuleSet::validateFullConfig(const std::string& config)
{
    if (!usable("validateFullConfig")) {
        return false;
    }
    lastFullConfig = config;
    const bool answer = _engine.validateFullAnswers.next(_engine.acceptsFull(config));
    journal().add(Part::RuleSet, "#", _id, " validateFullConfig -> ", answer);
    return answer;
}

bool FakeRuleSet::validateConfig(const std::string& name, const std::string& type, const std::string& parameters)
{
    if (!usable("validateConfig")) {
        return false;
    }
    lastComponent = {name, type, parameters};
    const bool answer = _engine.validateAnswers.next(_engine.accepts(lastComponent));
    journal().add(Part::RuleSet, "#", _id, " validateConfig(", name, ", ", type, ") -> ", answer);
    return answer;
}

bool FakeRuleSet::setConfig(const std::string& name, const std::string& type, const std::string& parameters)
{
    if (!usable("setConfig")) {
        return false;
    }
    lastComponent = {name, type, parameters};
    const bool answer = _engine.setAnswers.next(true);
    journal().add(Part::RuleSet, "#", _id, " setConfig(", name, ", ", type, ") -> ", answer);
    if (answer) {
        removeComponent(name);
        auto& list = type.find("Module") == std::string::npos ? _rules : _modules;
        list.push_back(lastComponent);
        print();
    }
    return answer;
}

bool FakeRuleSet::detach()
{
    if (!usable("detach")) {
        return false;
    }
    journal().add(Part::RuleSet, "#", _id, " detach");
    return true;
}

bool FakeRuleSet::deleteBehavior(const std::string& name)
{
    if (!usable("deleteBehavior")) {
        return false;
    }
    const bool answer = removeComponent(name);
    journal().add(Part::RuleSet, "#", _id, " deleteBehavior(", name, ") -> ", answer);
    if (answer) {
        print();
    }
    return answer;
}

bool FakeRuleSet::setFullConfig(const std::string& config)
{
    if (!usable("setFullConfig")) {
        return false;
    }
    lastFullConfig = config;
    const bool answer = _engine.setFullAnswers.next(true);
    journal().add(Part::RuleSet, "#", _id, " setFullConfig -> ", answer);
    if (answer) {
        setContent(config);
    }
    return answer;
}

std::string FakeRuleSet::getFullConfig()
{
    if (!usable("getFullConfig")) {
        return "used after release";
    }
    journal().add(Part::RuleSet, "#", _id, " getFullConfig");
    return _content;
}

void FakeRuleSet::setContent(const std::string& text)
{
    _content = text;
    pugi::xml_document document;
    document.load_string(text.c_str());
    const pugi::xml_node analytics = document.child(IOnvifAnalytics::kVideoAnalyticTag.c_str());
    _modules = componentsOf(analytics.child(IOnvifAnalytics::kEngineConfigTag.c_str()), "tt:AnalyticsModule");
    _rules = componentsOf(analytics.child(IOnvifAnalytics::kRuleConfigTag.c_str()), "tt:Rule");
}

bool FakeRuleSet::removeComponent(const std::string& name)
{
    const bool module = eraseNamed(_modules, name);
    const bool rule = eraseNamed(_rules, name);
    return module || rule;
}

void FakeRuleSet::print()
{
    _content = "<" + IOnvifAnalytics::kVideoAnalyticTag + ">" +
               listText(IOnvifAnalytics::kEngineConfigTag, "tt:AnalyticsModule", _modules) +
               listText(IOnvifAnalytics::kRuleConfigTag, "tt:Rule", _rules) + "</" +
               IOnvifAnalytics::kVideoAnalyticTag + ">";
}

} // namespace kit
