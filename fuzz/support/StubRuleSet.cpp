#include "support/StubRuleSet.h"

#include "plugin/analytics/IOnvifAnalytics.h"
#include "support/XmlText.h"

#include <pugixml.hpp>

#include <algorithm>
#include <sstream>

namespace fuzz {

using analytics_lib::IOnvifAnalytics;

namespace {

constexpr char kRule[] = "tt:Rule";
constexpr char kModule[] = "tt:AnalyticsModule";

std::string printed(const pugi::xml_node& node)
{
    std::ostringstream text;
    node.print(text, "", pugi::format_raw);
    return text.str();
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

} // namespace

StubRuleSet::StubRuleSet(std::string engineName) : _prefix("tt:" + std::move(engineName))
{
}

bool StubRuleSet::validateFullConfig(const std::string& config)
{
    return contains(config, _prefix);
}

bool StubRuleSet::validateConfig(const std::string& /*name*/, const std::string& type, const std::string& parameters)
{
    return type.compare(0, _prefix.size(), _prefix) == 0 && !parameters.empty();
}

bool StubRuleSet::setConfig(const std::string& name, const std::string& type, const std::string& parameters)
{
    if (name == "Refused") {
        return false;
    }
    remove(name);
    _components.push_back({contains(type, "Module"), name, type, parameters});
    _content.clear();
    return true;
}

bool StubRuleSet::detach()
{
    return true;
}

bool StubRuleSet::deleteBehavior(const std::string& name)
{
    const bool found = remove(name);
    if (found) {
        _content.clear();
    }
    return found;
}

bool StubRuleSet::setFullConfig(const std::string& config)
{
    pugi::xml_document document;
    if (contains(config, "Unwanted") || !document.load_string(config.c_str())) {
        return false;
    }
    _content = config;
    _components.clear();
    const pugi::xml_node root = document.child(IOnvifAnalytics::kVideoAnalyticTag.c_str());
    for (const bool module : {true, false}) {
        const std::string& list = module ? IOnvifAnalytics::kEngineConfigTag : IOnvifAnalytics::kRuleConfigTag;
        for (const pugi::xml_node& node : root.child(list.c_str()).children(module ? kModule : kRule)) {
            _components.push_back({module, node.attribute("Name").value(), node.attribute("Type").value(),
                                   printed(node.child("tt:Parameters"))});
        }
    }
    return true;
}

std::string StubRuleSet::getFullConfig()
{
    if (!_content.empty()) {
        return _content;
    }
    std::string text = IOnvifAnalytics::kVideoAnalyticHeader + IOnvifAnalytics::kEngineConfigHeader;
    append(text, true);
    text += IOnvifAnalytics::kEngineConfigFooter + IOnvifAnalytics::kRuleConfigHeader;
    append(text, false);
    return text + IOnvifAnalytics::kRuleConfigFooter + IOnvifAnalytics::kVideoAnalyticFooter;
}

void StubRuleSet::append(std::string& text, bool modules) const
{
    const std::string element = modules ? kModule : kRule;
    for (const Component& component : _components) {
        if (component.module == modules) {
            text += "<" + element + " Name=\"" + escapedAttribute(component.name) + "\" Type=\"" +
                    escapedAttribute(component.type) + "\">" + component.parameters + "</" + element + ">";
        }
    }
}

bool StubRuleSet::remove(const std::string& name)
{
    const auto last = std::remove_if(_components.begin(), _components.end(),
                                     [&](const Component& component) { return component.name == name; });
    const bool found = last != _components.end();
    _components.erase(last, _components.end());
    return found;
}

} // namespace fuzz
