#pragma once

#include <string>
#include <utility>
#include <vector>

namespace kit {

/// One tt:Rule or tt:AnalyticsModule element with valid defaults.
class ElementBuilder {
public:
    ElementBuilder(std::string element, std::string name, std::string type);

    /// Adds a SimpleItem.
    ElementBuilder& item(std::string name, std::string value);
    ElementBuilder& preset(std::string value) { return item("PtzPreset", std::move(value)); }
    ElementBuilder& active(std::string value) { return item("Active", std::move(value)); }
    ElementBuilder& withoutParameters();

    /// The tt:Parameters element alone, as printed without blanks.
    std::string parameters() const;
    std::string text() const;
    operator std::string() const { return text(); } // reads as its text

private:
    std::string _element;
    std::string _name;
    std::string _type;
    bool _hasParameters = true;
    std::vector<std::pair<std::string, std::string>> _items;
};

/// A rule of an engine: type "tt:" + engine + "Rule".
ElementBuilder rule(const std::string& engine, const std::string& name);
/// A module of an engine: type "tt:" + engine + "Module".
ElementBuilder module(const std::string& engine, const std::string& name);

/// A whole configuration document of one engine: without a difference one module "M1" and one rule "R1".
class ConfigurationBuilder {
public:
    explicit ConfigurationBuilder(std::string engine);

    /// Puts the preset into the rules and modules that the builder adds by itself.
    ConfigurationBuilder& preset(std::string value);
    ConfigurationBuilder& add(const ElementBuilder& element);
    /// Line breaks and blanks between all elements.
    ConfigurationBuilder& spacious();

    std::string text() const;
    operator std::string() const { return text(); } // reads as its text

private:
    std::string _engine;
    std::string _preset;
    bool _hasPreset = false;
    bool _spacious = false;
    std::vector<std::string> _rules;
    std::vector<std::string> _modules;
};

inline ConfigurationBuilder configuration(std::string engine)
{
    return ConfigurationBuilder(std::move(engine));
}

/// A document in the one-line form from printed elements.
std::string document(const std::vector<std::string>& modules, const std::vector<std::string>& rules);

/// What a document is when the plug-in merged it: its tags are the headers and footers of the engine interface.
std::string merged(std::string document);

/// The settings document that holds those keys and texts, which must need no escape but quotation marks.
std::string storedDocument(const std::vector<std::pair<std::string, std::string>>& settings);

} // namespace kit
