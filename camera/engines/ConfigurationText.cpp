#include "camera/engines/ConfigurationText.h"

#include "camera/engines/EngineLog.h"
#include "camera/engines/EngineNames.h"
#include "camera/engines/ParameterList.h"
#include "plugin/analytics/IOnvifAnalytics.h"

#include <set>
#include <sstream>

namespace camera::engines {

namespace {

using analytics_lib::IOnvifAnalytics;

constexpr char kModuleElement[] = "tt:AnalyticsModule";
constexpr char kRuleElement[] = "tt:Rule";

void appendComponents(const pugi::xml_node& list, bool rules, std::vector<RawComponent>& out)
{
    for (const pugi::xml_node& node : list.children()) {
        if (node.type() != pugi::node_element) {
            continue;
        }
        RawComponent component;
        component.isRule = rules;
        component.name = node.attribute("Name").value();
        if (std::string(node.name()) == (rules ? kRuleElement : kModuleElement)) {
            component.type = node.attribute("Type").value();
        }
        component.parameters = node.child("tt:Parameters");
        out.push_back(std::move(component));
    }
}

std::string inComponent(const std::string& name, const std::string& reason)
{
    return "component '" + forLog(name) + "', " + reason;
}

} // namespace

bool readCommonParameters(ParameterList& parameters)
{
    parameters.optionalText("PtzPreset");
    return parameters.optionalBoolean("Active", true);
}

std::optional<std::vector<RawComponent>> readComponents(const pugi::xml_document& document)
{
    const pugi::xml_node root = document.child(IOnvifAnalytics::kVideoAnalyticTag.c_str());
    if (!root) {
        return std::nullopt;
    }
    std::vector<RawComponent> components;
    appendComponents(root.child(IOnvifAnalytics::kEngineConfigTag.c_str()), false, components);
    appendComponents(root.child(IOnvifAnalytics::kRuleConfigTag.c_str()), true, components);
    return components;
}

void parseXml(pugi::xml_document& document, const std::string& text)
{
    const pugi::xml_parse_result result = document.load_string(text.c_str());
    if (!result) {
        throw Refusal("the text is no XML document: " + std::string(result.description()) + " at byte " +
                      std::to_string(result.offset));
    }
}

std::string printComponent(const Component& component)
{
    pugi::xml_document document;
    pugi::xml_node node = document.append_child(component.isRule ? kRuleElement : kModuleElement);
    node.append_attribute("Name").set_value(component.name.c_str());
    node.append_attribute("Type").set_value(component.type.c_str());
    node.append_buffer(component.parameters.data(), component.parameters.size());
    std::ostringstream text;
    node.print(text, "", pugi::format_raw);
    return text.str();
}

std::string wrapComponents(const std::string& modules, const std::string& rules)
{
    return IOnvifAnalytics::kVideoAnalyticHeader + IOnvifAnalytics::kEngineConfigHeader + modules +
           IOnvifAnalytics::kEngineConfigFooter + IOnvifAnalytics::kRuleConfigHeader + rules +
           IOnvifAnalytics::kRuleConfigFooter + IOnvifAnalytics::kVideoAnalyticFooter;
}

Component completeComponent(const ComponentTypes& types, const RawComponent& raw, const Component* module)
{
    try {
        if (raw.name.empty()) {
            throw Refusal("Name", "", "a component needs a name");
        }
        const std::string type = raw.isRule ? types.ruleType : types.moduleType;
        if (raw.type != type) {
            throw Refusal("Type", raw.type,
                          (raw.isRule ? "the only rule here is " : "the only module here is ") + type);
        }
        ParameterList parameters(raw.parameters);
        readCommonParameters(parameters);
        if (raw.isRule) {
            types.completeRule(parameters, module);
        } else {
            types.completeModule(parameters);
        }
        parameters.finish();
        return {raw.name, raw.type, parameters.print(), raw.isRule};
    } catch (const Refusal& refusal) {
        throw Refusal(inComponent(raw.name, refusal.what()));
    }
}

Components completeDocument(const ComponentTypes& types, const std::string& config)
{
    Components components;
    if (config.empty()) {
        return components;
    }
    pugi::xml_document document;
    parseXml(document, config);
    const auto raws = readComponents(document);
    if (!raws) {
        throw Refusal("the document has no " + IOnvifAnalytics::kVideoAnalyticTag);
    }
    std::set<std::string> names;
    components.reserve(raws->size());
    for (const RawComponent& raw : *raws) {
        const bool secondModule = !raw.isRule && !components.empty();
        const Component* module = components.empty() || components[0].isRule ? nullptr : &components[0];
        Component component = completeComponent(types, raw, module);
        if (secondModule || !names.insert(raw.name).second) {
            throw Refusal(inComponent(
                raw.name,
                Refusal("Name", raw.name, secondModule ? "a configuration holds one module" : "the name stands twice")
                    .what()));
        }
        components.push_back(std::move(component));
    }
    return components;
}

} // namespace camera::engines
