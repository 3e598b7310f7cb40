#include "camera/onvif/ConfigurationFile.h"

#include "camera/base/Text.h"
#include "camera/onvif/CanonicalNames.h"
#include "camera/onvif/StoredConfigurations.h"
#include "camera/onvif/XmlText.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace camera::onvif {

namespace {

constexpr char kConfiguration[] = "tt:VideoAnalyticsConfiguration";
constexpr char kModuleList[] = "tt:AnalyticsEngineConfiguration";
constexpr char kRuleList[] = "tt:RuleEngineConfiguration";
constexpr char kModule[] = "tt:AnalyticsModule";
constexpr char kRule[] = "tt:Rule";
constexpr char kPreset[] = "PtzPreset";
constexpr char kNotValid[] = "not a valid component"; // the plug-in's line about what every engine refuses

std::string readWhole(const std::string& path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        throw std::runtime_error("cannot read the configuration '" + path +
                                 "': it is a directory; name one XML file in it.");
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read the configuration '" + path + "': " + std::strerror(errno) +
                                 "; name an XML file.");
    }
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (file.bad()) {
        throw std::runtime_error("cannot read the configuration '" + path + "': reading it failed; check the disk.");
    }
    return text;
}

std::string canonical(const std::string& path, const std::string& text, const std::string& root)
{
    if (text.find('\0') != std::string::npos) {
        throw std::runtime_error("the configuration '" + path +
                                 "' is refused: it holds a NUL byte; save it as UTF-8 text.");
    }
    try {
        return canonicalDocument(text, root);
    } catch (const XmlRefusal& refusal) {
        throw std::runtime_error("the configuration '" + path + "' is refused at line " + std::to_string(refusal.line) +
                                 ", column " + std::to_string(refusal.column) + ": " + refusal.what() + ".");
    }
}

std::string rootOf(const std::string& text)
{
    pugi::xml_document document;
    document.load_buffer(text.data(), text.size());
    const std::string name = document.document_element().name();
    const std::size_t colon = name.find(':');
    return colon == std::string::npos ? name : name.substr(colon + 1);
}

void collect(const pugi::xml_node& list, bool rules, std::vector<pugi::xml_node>& out)
{
    for (const pugi::xml_node& node : list.children(rules ? kRule : kModule)) {
        out.push_back(node);
    }
}

// The rules and modules of a configuration or of one element.
std::vector<pugi::xml_node> componentNodes(const pugi::xml_document& document)
{
    std::vector<pugi::xml_node> found;
    collect(document, false, found);
    collect(document, true, found);
    const pugi::xml_node root = document.child(kConfiguration);
    collect(root.child(kModuleList), false, found);
    collect(root.child(kRuleList), true, found);
    return found;
}

auto parameterItems(const pugi::xml_node& component)
{
    return component.child("tt:Parameters").children("tt:SimpleItem");
}

ComponentName nameOf(const pugi::xml_node& node)
{
    ComponentName component{std::string(node.name()) == kRule, node.attribute("Name").value(),
                            node.attribute("Type").value(), ""};
    for (const pugi::xml_node& item : parameterItems(node)) {
        if (std::string(item.attribute("Name").value()) == kPreset) {
            component.preset = item.attribute("Value").value();
        }
    }
    return component;
}

} // namespace

std::string readConfiguration(const std::string& path)
{
    return canonical(path, readWhole(path), kConfiguration);
}

std::vector<std::string> readComponents(const std::string& path, bool rules)
{
    const std::string text = readWhole(path);
    const char* wanted = rules ? kRule : kModule;
    if (rootOf(text) == std::string(wanted).substr(3)) {
        return {canonical(path, text, wanted)};
    }
    const std::string whole = canonical(path, text, kConfiguration);
    pugi::xml_document document;
    document.load_buffer(whole.data(), whole.size());
    std::vector<std::string> components;
    const pugi::xml_node list = document.child(kConfiguration).child(rules ? kRuleList : kModuleList);
    for (const pugi::xml_node& node : list.children(wanted)) {
        components.push_back(printed(node));
    }
    if (components.empty()) {
        throw std::runtime_error("there is no " + std::string(wanted) + " in '" + path +
                                 "'; name a file that holds one, or a configuration with some.");
    }
    return components;
}

std::vector<ComponentName> componentsOf(const std::string& xml)
{
    std::vector<ComponentName> found;
    pugi::xml_document document;
    if (document.load_buffer(xml.data(), xml.size())) {
        for (const pugi::xml_node& node : componentNodes(document)) {
            found.push_back(nameOf(node));
        }
    }
    return found;
}

std::vector<Json::Value> componentObjects(const std::string& xml)
{
    std::vector<Json::Value> found;
    pugi::xml_document document;
    if (document.load_buffer(xml.data(), xml.size())) {
        for (const pugi::xml_node& node : componentNodes(document)) {
            Json::Value object = componentObject(nameOf(node));
            object["xml"] = printed(node);
            for (const pugi::xml_node& item : parameterItems(node)) {
                const std::string name = item.attribute("Name").value();
                if (name != kPreset && !object.isMember(name)) {
                    object[name] = item.attribute("Value").value();
                }
            }
            found.push_back(std::move(object));
        }
    }
    return found;
}

Json::Value componentObject(const ComponentName& component)
{
    Json::Value object(Json::objectValue);
    object[component.isRule ? "rule" : "module"] = component.name;
    object["type"] = component.type;
    object["preset"] = component.preset;
    return object;
}

std::string refusalText(std::vector<std::string> lines)
{
    const auto engines = std::remove(lines.begin(), lines.end(), kNotValid);
    if (engines != lines.begin()) {
        lines.erase(engines, lines.end());
    }
    std::string text;
    for (const std::string& line : lines) {
        text += (text.empty() ? "" : "; ") + line;
    }
    return text;
}

std::string refusalReason(const std::vector<ComponentName>& components, const std::vector<std::string>& ruleTypes,
                          const std::vector<std::string>& moduleTypes, std::vector<std::string> lines)
{
    for (const ComponentName& component : components) {
        const std::vector<std::string>& types = component.isRule ? ruleTypes : moduleTypes;
        if (std::find(types.begin(), types.end(), component.type) == types.end()) {
            return "no engine knows the type of its " + base::printable(describe(component)) + "; camera " +
                   (component.isRule ? "rules" : "modules") + " types lists those that there are";
        }
    }
    if (components.empty()) {
        return "there is no rule and no module in it";
    }
    const std::string reason = refusalText(std::move(lines));
    return reason.empty() ? "no engine names a reason; it mixes the types of several engines, which take a file each"
                          : reason;
}

std::string describe(const ComponentName& component)
{
    std::string text = std::string(component.isRule ? "rule" : "module") + " '" + component.name + "' (" +
                       (component.type.empty() ? "no type" : component.type);
    if (!component.preset.empty()) {
        text += ", preset " + component.preset;
    }
    return text + ")";
}

std::string describeActive(const std::string& preset, const std::vector<std::string>& rules,
                           const std::vector<std::string>& modules)
{
    std::vector<std::string> words;
    if (!preset.empty()) {
        words.push_back(preset == kAwayFromPresets ? "away from presets" : "preset '" + preset + "'");
    }
    for (const std::string& rule : rules) {
        words.push_back("rule '" + rule + "'");
    }
    for (const std::string& module : modules) {
        words.push_back("module '" + module + "'");
    }
    return words.empty() ? "none" : base::joined(words);
}

bool operator==(const ComponentName& a, const ComponentName& b)
{
    return a.isRule == b.isRule && a.name == b.name && a.type == b.type && a.preset == b.preset;
}

} // namespace camera::onvif
