#include "camera/onvif/AnalyticsDescriptions.h"

#include "camera/onvif/CanonicalNames.h"
#include "camera/onvif/Requests.h"

#include <algorithm>
#include <utility>

namespace camera::onvif {

namespace {

const char* descriptionElement(bool rules)
{
    return rules ? "tt:RuleDescription" : "tt:AnalyticsModuleDescription";
}

const char* supportedElement(bool rules)
{
    return rules ? "tan:SupportedRules" : "tan:SupportedAnalyticsModules";
}

} // namespace

AnalyticsDescriptions::AnalyticsDescriptions(const std::vector<EngineTypes>& engines, std::vector<std::string> presets,
                                             bool moves)
    : _engines(engines), _presets(std::move(presets)), _moves(moves)
{
    for (const EngineTypes& engine : engines) {
        auto document = std::make_unique<pugi::xml_document>();
        try {
            const std::string text = canonicalDocument(engine.description, "vca:EngineDescription");
            document->load_buffer(text.data(), text.size());
        } catch (const XmlRefusal&) { // the engine is served without
        }
        _documents.push_back(std::move(document));
    }
}

pugi::xml_node AnalyticsDescriptions::found(bool rules, const std::string& type) const
{
    const EngineTypes* const engine = engineOf(_engines, rules, type);
    return engine == nullptr ? pugi::xml_node()
                             : _documents[static_cast<std::size_t>(engine - _engines.data())]
                                   ->document_element()
                                   .child(supportedElement(rules))
                                   .find_child_by_attribute(descriptionElement(rules), "Name", type.c_str());
}

TypeLimits AnalyticsDescriptions::limitsOf(bool rules, const std::string& type) const
{
    TypeLimits limits;
    if (const pugi::xml_node description = found(rules, type)) {
        limits.most = description.attribute("maxInstances").as_uint(static_cast<unsigned>(limits.most));
        limits.fixed = description.attribute("fixed").as_bool();
    }
    return limits;
}

void AnalyticsDescriptions::fillSupported(pugi::xml_node supported, bool rules) const
{
    for (std::size_t i = 0; i < _engines.size(); ++i) {
        const char* const location = rules ? "tt:RuleContentSchemaLocation" : "tt:AnalyticsModuleContentSchemaLocation";
        for (const pugi::xml_node& each :
             _documents[i]->document_element().child(supportedElement(rules)).children(location)) {
            supported.append_copy(each);
        }
    }
    for (const EngineTypes& engine : _engines) {
        for (const std::string& type : engine.types(rules)) {
            putDescription(supported, rules, type);
        }
    }
}

void AnalyticsDescriptions::putDescription(pugi::xml_node supported, bool rules, const std::string& type) const
{
    const pugi::xml_node known = found(rules, type);
    pugi::xml_node made = known ? supported.append_copy(known) : supported.append_child(descriptionElement(rules));
    if (!known) {
        made.append_attribute("Name").set_value(type.c_str());
        made.append_child("tt:Parameters");
    }
    const std::size_t places = _moves ? _presets.size() + 1 : 1;
    made.remove_attribute("maxInstances");
    made.append_attribute("maxInstances") = static_cast<unsigned>(limitsOf(rules, type).most * places);
    if (_moves) {
        pugi::xml_node preset = made.child("tt:Parameters").prepend_child("tt:SimpleItemDescription");
        preset.append_attribute("Name").set_value(kOutsidePreset);
        preset.append_attribute("Type").set_value("tt:ReferenceToken");
    }
}

void AnalyticsDescriptions::putOptions(pugi::xml_node parent, const char* element, bool rules,
                                       const std::string& type) const
{
    const char* const attribute = rules ? "RuleType" : "AnalyticsModule";
    for (std::size_t i = 0; i < _engines.size(); ++i) {
        for (const std::string& each : _engines[i].types(rules)) {
            if (!type.empty() && each != type) {
                continue;
            }
            putPresetOptions(parent, element, rules, each);
            for (const pugi::xml_node& options :
                 _documents[i]->document_element().children(rules ? "tan:RuleOptions" : "tan:Options")) {
                if (options.attribute(attribute).value() == each) {
                    parent.append_copy(options).set_name(element);
                }
            }
        }
    }
}

void AnalyticsDescriptions::putPresetOptions(pugi::xml_node parent, const char* element, bool rules,
                                             const std::string& type) const
{
    if (!_moves || _presets.empty()) {
        return;
    }
    pugi::xml_node options = parent.append_child(element);
    options.append_attribute(rules ? "RuleType" : "AnalyticsModule").set_value(type.c_str());
    options.append_attribute("Name").set_value(kOutsidePreset);
    options.append_attribute("minOccurs") = 0;
    pugi::xml_node items = options.append_child("tt:StringItems");
    for (const std::string& preset : _presets) {
        put(items, "tt:Item", preset);
    }
}

void AnalyticsDescriptions::putMetadata(pugi::xml_node parent, const std::string& type) const
{
    for (const auto& document : _documents) {
        for (const pugi::xml_node& each : document->document_element().children("tan:AnalyticsModule")) {
            const std::string name = each.attribute("Type").value();
            if (has(false, name) && (type.empty() || name == type)) {
                parent.append_copy(each);
            }
        }
    }
}

std::vector<pugi::xml_node> AnalyticsDescriptions::messages() const
{
    std::vector<pugi::xml_node> messages;
    for (const EngineTypes& engine : _engines) {
        for (const bool rules : {true, false}) {
            for (const std::string& type : engine.types(rules)) {
                const auto ofType = found(rules, type).children("tt:Messages");
                messages.insert(messages.end(), ofType.begin(), ofType.end());
            }
        }
    }
    return messages;
}

bool AnalyticsDescriptions::areComplete() const
{
    return std::all_of(_documents.begin(), _documents.end(),
                       [](const auto& document) { return static_cast<bool>(document->document_element()); });
}

} // namespace camera::onvif
