#include "camera/onvif/AnalyticsState.h"

#include "camera/onvif/CanonicalNames.h"
#include "camera/onvif/ConfigurationFile.h"
#include "camera/onvif/StoredConfigurations.h"
#include "camera/onvif/XmlText.h"

#include <algorithm>
#include <map>

namespace camera::onvif {

namespace {

constexpr const char* kModuleElement = "tt:AnalyticsModule";
constexpr const char* kRuleElement = "tt:Rule";

void append(PlacedComponents& all, const std::vector<EngineTypes>& engines, bool rules,
            const std::vector<std::string>& elements)
{
    for (const std::string& text : elements) {
        pugi::xml_document document;
        document.load_buffer(text.data(), text.size());
        const pugi::xml_node element = document.child(rules ? kRuleElement : kModuleElement);
        if (const EngineTypes* const engine = engineOf(engines, rules, element.attribute("Type").value())) {
            all.push_back(placedComponent(element, engine->engine));
        }
    }
}

/// Lengthens names that stand more than once.
template <class Lengthen>
void makeUnique(std::vector<std::string>& names, const Lengthen& lengthen)
{
    std::map<std::string, int> counts;
    for (const std::string& name : names) {
        ++counts[name];
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (counts[names[i]] > 1) {
            names[i] = lengthen(i);
        }
    }
}

} // namespace

PlacedComponents placedComponents(const std::vector<EngineTypes>& engines, const std::vector<std::string>& rules,
                                  const std::vector<std::string>& modules)
{
    PlacedComponents all;
    append(all, engines, false, modules);
    append(all, engines, true, rules);
    return all;
}

PlacedComponent placedComponent(const pugi::xml_node& element, const std::string& engine)
{
    const bool isRule = std::string(element.name()) == kRuleElement;
    std::string xml = printed(element);
    const std::vector<ComponentName> found = componentsOf(xml);
    const std::string preset = found.empty() ? "" : found.front().preset;
    return {
        isRule, element.attribute("Name").value(), element.attribute("Type").value(), {engine, preset}, std::move(xml)};
}

const EngineTypes* engineOf(const std::vector<EngineTypes>& engines, bool rules, const std::string& type)
{
    const auto found = std::find_if(engines.begin(), engines.end(), [&](const EngineTypes& engine) {
        const std::vector<std::string>& types = engine.types(rules);
        return std::find(types.begin(), types.end(), type) != types.end();
    });
    return found == engines.end() ? nullptr : &*found;
}

std::string presetToken(const DocumentKey& key)
{
    return key.preset == kAwayFromPresets ? "" : key.preset;
}

std::vector<std::string> publicNames(const PlacedComponents& components)
{
    std::vector<std::string> names;
    for (const PlacedComponent& component : components) {
        names.push_back(component.name);
    }
    makeUnique(names, [&](std::size_t i) { return components[i].name + "@" + presetToken(components[i].key); });
    makeUnique(names, [&](std::size_t i) { return names[i] + "@" + components[i].key.engine; });
    const std::vector<std::string> almost = names;
    makeUnique(names, [&](std::size_t i) {
        return almost[i] + "#" +
               std::to_string(std::count(almost.begin(), almost.begin() + static_cast<std::ptrdiff_t>(i), almost[i]) +
                              1);
    });
    return names;
}

PlacedComponent renamed(PlacedComponent component, const std::string& name)
{
    if (component.name != name) {
        pugi::xml_document document;
        document.load_buffer(component.xml.data(), component.xml.size());
        document.document_element().attribute("Name").set_value(name.c_str());
        component.name = name;
        component.xml = printed(document.document_element());
    }
    return component;
}

void putComponent(pugi::xml_node parent, const char* element, const PlacedComponent& component,
                  const std::string& publicName)
{
    parent.append_buffer(component.xml.data(), component.xml.size());
    pugi::xml_node node = parent.last_child();
    node.set_name(element);
    node.attribute("Name").set_value(publicName.c_str());
    for (pugi::xml_node item : node.child("tt:Parameters").children("tt:SimpleItem")) {
        if (item.attribute("Name").value() == std::string(kInsidePreset)) {
            const std::string token = presetToken(component.key);
            item.attribute("Name").set_value(kOutsidePreset);
            item.attribute("Value").set_value(token.c_str());
            if (token.empty()) {
                item.parent().remove_child(item);
            }
            break;
        }
    }
}

std::string documentOf(const PlacedComponents& components)
{
    pugi::xml_document document;
    pugi::xml_node root = document.append_child("tt:VideoAnalyticsConfiguration");
    root.append_attribute("token").set_value("AnalyticsConfiguration_1");
    root.append_child("tt:Name").text().set("Analytics");
    root.append_child("tt:UseCount").text().set(1);
    const pugi::xml_node modules = root.append_child("tt:AnalyticsEngineConfiguration");
    const pugi::xml_node rules = root.append_child("tt:RuleEngineConfiguration");
    for (const PlacedComponent& component : components) {
        pugi::xml_node list = component.isRule ? rules : modules;
        list.append_buffer(component.xml.data(), component.xml.size());
    }
    declareUsed(root, NamespaceTable::ofDocuments());
    return printed(root);
}

} // namespace camera::onvif
