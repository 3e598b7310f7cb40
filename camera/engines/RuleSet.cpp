#include "camera/engines/RuleSet.h"

#include "camera/engines/ConfigurationText.h"
#include "camera/engines/ParameterList.h"

#include <algorithm>

namespace camera::engines {

namespace {

const Component* moduleOf(const Components& components)
{
    return components.empty() || components[0].isRule ? nullptr : &components[0];
}

Components::iterator findByName(Components& components, const std::string& name)
{
    return std::find_if(components.begin(), components.end(),
                        [&](const Component& component) { return component.name == name; });
}

} // namespace

bool RuleSet::validateFullConfig(const std::string& config)
{
    try {
        completeDocument(_types, config);
        return true;
    } catch (const std::exception& reason) {
        return refuse(reason);
    }
}

bool RuleSet::validateConfig(const std::string& component, const std::string& type, const std::string& list)
{
    // The plug-in asks every engine in turn, so a type of another engine is not an error: no log line.
    if (!_types.owns(type)) {
        return false;
    }
    try {
        complete(component, type, list, components());
        return true;
    } catch (const std::exception& reason) {
        return refuse(reason);
    }
}

bool RuleSet::setConfig(const std::string& component, const std::string& type, const std::string& list)
{
    try {
        Components all = components();
        Component next = complete(component, type, list, all);
        const auto old = findByName(all, component);
        if (old != all.end()) {
            *old = std::move(next);
        } else {
            all.insert(next.isRule ? all.end() : all.begin(), std::move(next));
        }
        store(all);
        return true;
    } catch (const std::exception& reason) {
        return refuse(reason);
    }
}

bool RuleSet::setFullConfig(const std::string& config)
{
    try {
        store(completeDocument(_types, config));
        return true;
    } catch (const std::exception& reason) {
        return refuse(reason);
    }
}

bool RuleSet::deleteBehavior(const std::string& name)
{
    try {
        Components all = components();
        const auto found = findByName(all, name);
        if (found == all.end()) {
            return false;
        }
        all.erase(found);
        store(all);
        return true;
    } catch (const std::exception& reason) {
        return refuse(reason);
    }
}

std::string RuleSet::getFullConfig()
{
    return wrapComponents(_text.substr(0, _moduleBytes), _text.substr(_moduleBytes));
}

Components RuleSet::components() const
{
    if (_text.empty()) {
        return {};
    }
    return completeDocument(_types, wrapComponents(_text.substr(0, _moduleBytes), _text.substr(_moduleBytes)));
}

Component RuleSet::complete(const std::string& component, const std::string& type, const std::string& list,
                            const Components& others) const
{
    pugi::xml_document document;
    if (!list.empty()) {
        parseXml(document, list);
    }
    const bool isRule = type == _types.ruleType;
    const RawComponent raw{component, type, document.child("tt:Parameters"), isRule};
    const Component* module = moduleOf(others);
    Component completed = completeComponent(_types, raw, module);
    for (const Component& other : others) {
        if (other.name == component && other.isRule != isRule) {
            throw Refusal("component '" + forLog(component) + "', " +
                          Refusal("Type", type, "the name belongs to a " + other.type).what());
        }
    }
    if (!isRule && module != nullptr && module->name != component) {
        throw Refusal(
            "component '" + forLog(component) + "', " +
            Refusal("Name", component, "a configuration holds one module, here '" + forLog(module->name) + "'").what());
    }
    return completed;
}

void RuleSet::store(const Components& components)
{
    std::string text;
    std::size_t moduleBytes = 0;
    for (const Component& component : components) {
        text += printComponent(component);
        moduleBytes = component.isRule ? moduleBytes : text.size();
    }
    text.shrink_to_fit();
    _text = std::move(text);
    _moduleBytes = moduleBytes;
}

bool RuleSet::refuse(const std::exception& reason) const
{
    _log.error(reason.what());
    return false;
}

} // namespace camera::engines
