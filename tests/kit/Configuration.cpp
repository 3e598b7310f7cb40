#include "kit/Configuration.h"

#include "plugin/analytics/IOnvifAnalytics.h"

namespace kit {

namespace {

std::string joined(const std::vector<std::string>& texts)
{
    std::string all;
    for (const std::string& text : texts) {
        all += text;
    }
    return all;
}

std::string spread(const std::string& text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        result += text[i];
        if (text[i] == '>') {
            result += "\n  ";
        }
    }
    return result;
}

std::string quoted(const std::string& text)
{
    std::string result = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\') {
            result += '\\';
        }
        result += character;
    }
    return result + "\"";
}

} // namespace

ElementBuilder::ElementBuilder(std::string element, std::string name, std::string type)
    : _element(std::move(element)), _name(std::move(name)), _type(std::move(type))
{
}

ElementBuilder& ElementBuilder::item(std::string name, std::string value)
{
    _items.emplace_back(std::move(name), std::move(value));
    return *this;
}

ElementBuilder& ElementBuilder::withoutParameters()
{
    _hasParameters = false;
    return *this;
}

std::string ElementBuilder::parameters() const
{
    if (!_hasParameters) {
        return "";
    }
    if (_items.empty()) {
        return "<tt:Parameters/>";
    }
    std::string text = "<tt:Parameters>";
    for (const auto& [name, value] : _items) {
        text += "<tt:SimpleItem Name=\"" + name + "\" Value=\"" + value + "\"/>";
    }
    return text + "</tt:Parameters>";
}

std::string ElementBuilder::text() const
{
    const std::string start = "<" + _element + " Name=\"" + _name + "\" Type=\"" + _type + "\"";
    return _hasParameters ? start + ">" + parameters() + "</" + _element + ">" : start + "/>";
}

ElementBuilder rule(const std::string& engine, const std::string& name)
{
    return {"tt:Rule", name, "tt:" + engine + "Rule"};
}

ElementBuilder module(const std::string& engine, const std::string& name)
{
    return {"tt:AnalyticsModule", name, "tt:" + engine + "Module"};
}

ConfigurationBuilder::ConfigurationBuilder(std::string engine) : _engine(std::move(engine))
{
}

ConfigurationBuilder& ConfigurationBuilder::preset(std::string value)
{
    _preset = std::move(value);
    _hasPreset = true;
    return *this;
}

ConfigurationBuilder& ConfigurationBuilder::add(const ElementBuilder& element)
{
    const std::string text = element.text();
    (text.compare(0, 8, "<tt:Rule") == 0 ? _rules : _modules).push_back(text);
    return *this;
}

ConfigurationBuilder& ConfigurationBuilder::spacious()
{
    _spacious = true;
    return *this;
}

std::string ConfigurationBuilder::text() const
{
    std::vector<std::string> rules = _rules;
    std::vector<std::string> modules = _modules;
    if (rules.empty() && modules.empty()) {
        ElementBuilder onlyModule = module(_engine, "M1");
        ElementBuilder onlyRule = rule(_engine, "R1");
        if (_hasPreset) {
            onlyRule.preset(_preset);
        }
        modules.push_back(onlyModule.item("Sensitivity", "50"));
        rules.push_back(onlyRule.active("true"));
    }
    const std::string text = document(modules, rules);
    return _spacious ? spread(text) : text;
}

std::string document(const std::vector<std::string>& modules, const std::vector<std::string>& rules)
{
    return "<tt:VideoAnalyticsConfiguration><tt:AnalyticsEngineConfiguration>" + joined(modules) +
           "</tt:AnalyticsEngineConfiguration><tt:RuleEngineConfiguration>" + joined(rules) +
           "</tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>";
}

std::string merged(std::string document)
{
    using analytics_lib::IOnvifAnalytics;
    const auto exchange = [&](const std::string& tag, const std::string& text) {
        const std::size_t place = document.find(tag);
        if (place != std::string::npos) {
            document.replace(place, tag.size(), text);
        }
    };
    const auto exchangeBoth = [&](const std::string& tag, const std::string& header, const std::string& footer) {
        exchange("<" + tag + ">", header);
        exchange("</" + tag + ">", footer);
    };
    exchangeBoth(IOnvifAnalytics::kVideoAnalyticTag, IOnvifAnalytics::kVideoAnalyticHeader,
                 IOnvifAnalytics::kVideoAnalyticFooter);
    exchangeBoth(IOnvifAnalytics::kEngineConfigTag, IOnvifAnalytics::kEngineConfigHeader,
                 IOnvifAnalytics::kEngineConfigFooter);
    exchangeBoth(IOnvifAnalytics::kRuleConfigTag, IOnvifAnalytics::kRuleConfigHeader,
                 IOnvifAnalytics::kRuleConfigFooter);
    return document;
}

std::string storedDocument(const std::vector<std::pair<std::string, std::string>>& settings)
{
    if (settings.empty()) {
        return "[]";
    }
    std::string text = "[ ";
    const char* separator = "";
    for (const auto& [key, config] : settings) {
        text += separator;
        text += "{ \"key\" : " + quoted(key) + ", \"config\" : " + quoted(config) + " }";
        separator = ", ";
    }
    return text + " ]";
}

} // namespace kit
