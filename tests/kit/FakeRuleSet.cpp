#include "kit/FakeRuleSet.h"

#include "kit/FakeEngine.h"
#include "kit/XmlText.h"

#include <pugixml.hpp>

#include <algorithm>
#include <iterator>
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

bool isModule(const Component& component)
{
    return component.type.find("Module") != std::string::npos;
}

std::string listText(const std::string& tag, bool modules, const std::vector<Component>& components)
{
    const std::string element = modules ? "tt:AnalyticsModule" : "tt:Rule";
    std::string text = "<" + tag + ">";
    for (const Component& component : components) {
        if (isModule(component) == modules) {
            text += "<" + element + " Name=\"" + escapedAttribute(component.name) + "\" Type=\"" +
                    escapedAttribute(component.type) + "\">" + component.parameters + "</" + element + ">";
        }
    }
    return text + "</" + tag + ">";
}

} // namespace

FakeRuleSet::FakeRuleSet(FakeEngine& engine, int id)
    : _engine(engine), _id(id), _text(std::make_shared<std::string>(engine.emptyContent))
{
}

FakeRuleSet::~FakeRuleSet() = default;

bool FakeRuleSet::fixed() const
{
    return _engine.content == FakeEngine::Content::kFixed;
}

bool FakeRuleSet::usable(const char* call) const
{
    if (_released) {
        journal().add(Part::RuleSet, "#", _id, " ", call, " used after release");
        return false;
    }
    if (!_engine.before.empty()) {
        _engine.reached(std::string("ruleSet.") + call);
    }
    return true;
}

bool FakeRuleSet::validateFullConfig(const std::string& config)
{
    if (!usable("validateFullConfig")) {
        return false;
    }
    if (journal().recording()) {
        lastFullConfig = config;
    }
    const bool answer = _engine.validateFullAnswers.next(_engine.acceptsFull(config));
    journal().add(Part::RuleSet, "#", _id, " validateFullConfig -> ", answer);
    return answer;
}

bool FakeRuleSet::validateConfig(const std::string& name, const std::string& type, const std::string& parameters)
{
    if (!usable("validateConfig")) {
        return false;
    }
    remember(name, type, parameters);
    const bool answer = _engine.validateAnswers.next(_engine.accepts({name, type, parameters}));
    journal().add(Part::RuleSet, "#", _id, " validateConfig(", name, ", ", type, ") -> ", answer);
    return answer;
}

bool FakeRuleSet::setConfig(const std::string& name, const std::string& type, const std::string& parameters)
{
    if (!usable("setConfig")) {
        return false;
    }
    remember(name, type, parameters);
    Component component{name, type, parameters};
    const bool answer = _engine.setAnswers.next(_engine.takes(component));
    journal().add(Part::RuleSet, "#", _id, " setConfig(", name, ", ", type, ") -> ", answer);
    if (answer && fixed()) {
        _names.insert(name);
    } else if (answer) {
        parse();
        _components.reserve(_components.size() + 1);
        removeComponent(name);
        _components.push_back(std::move(component));
        _text = nullptr;
    }
    return answer;
}

void FakeRuleSet::remember(const std::string& name, const std::string& type, const std::string& parameters)
{
    if (journal().recording()) {
        lastComponent = {name, type, parameters};
    }
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
    parse();
    const bool answer = fixed() ? _names.erase(name) != 0 : removeComponent(name);
    journal().add(Part::RuleSet, "#", _id, " deleteBehavior(", name, ") -> ", answer);
    if (answer && !fixed()) {
        _text = nullptr;
    }
    return answer;
}

bool FakeRuleSet::setFullConfig(const std::string& config)
{
    if (!usable("setFullConfig")) {
        return false;
    }
    if (journal().recording()) {
        lastFullConfig = config;
    }
    const bool answer = _engine.setFullAnswers.next(_engine.takesFull(config));
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
    return content();
}

std::string FakeRuleSet::content() const
{
    if (_text != nullptr) {
        return *_text;
    }
    return "<" + IOnvifAnalytics::kVideoAnalyticTag + ">" +
           listText(IOnvifAnalytics::kEngineConfigTag, true, _components) +
           listText(IOnvifAnalytics::kRuleConfigTag, false, _components) + "</" + IOnvifAnalytics::kVideoAnalyticTag +
           ">";
}

void FakeRuleSet::setContent(const std::string& text)
{
    _text = _engine.shared(text);
    _components.clear();
    _names.clear();
    _parsed = false;
}

// Only a change of single components needs them, so that a large text costs one copy.
void FakeRuleSet::parse()
{
    if (_parsed || fixed()) {
        return;
    }
    pugi::xml_document document;
    document.load_string(_text->c_str());
    const pugi::xml_node analytics = document.child(IOnvifAnalytics::kVideoAnalyticTag.c_str());
    std::vector<Component> components =
        componentsOf(analytics.child(IOnvifAnalytics::kEngineConfigTag.c_str()), "tt:AnalyticsModule");
    std::vector<Component> rules = componentsOf(analytics.child(IOnvifAnalytics::kRuleConfigTag.c_str()), "tt:Rule");
    std::move(rules.begin(), rules.end(), std::back_inserter(components));
    _components = std::move(components);
    _parsed = true;
}

bool FakeRuleSet::removeComponent(const std::string& name)
{
    const auto last = std::remove_if(_components.begin(), _components.end(),
                                     [&](const Component& component) { return component.name == name; });
    const bool found = last != _components.end();
    _components.erase(last, _components.end());
    return found;
}

} // namespace kit
