#include "camera/onvif/AnalyticsChange.h"

#include "camera/onvif/Fault.h"
#include "camera/onvif/StoredConfigurations.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace camera::onvif {

namespace {

constexpr const char* kEngineWithoutPresets = "Simple";
constexpr std::size_t kLongestComponentName = 1024;
/// The service writes its whole store for each.
constexpr std::size_t kMostDeletedAtOnce = 4;

Fault invalidComponent(bool rules, const std::string& reason)
{
    return Fault::invalid(rules ? "ter:InvalidRule" : "ter:InvalidModule", reason);
}

Fault configurationConflict(const std::string& reason)
{
    return Fault::receiver({"ter:Action", "ter:ConfigurationConflict"}, reason);
}

Fault fixedType(bool rules, const std::string& type)
{
    return Fault::sender({"ter:Action", rules ? "ter:FixedRules" : "ter:FixedModules"},
                         "those of type '" + type + "' are fixed: they can be neither created nor deleted");
}

Fault taken(bool rules, const std::string& name)
{
    return Fault::invalid(rules ? "ter:RuleAlreadyExistent" : "ter:NameAlreadyExistent",
                          "a rule or module '" + name + "' is there already");
}

Fault absent(bool rules, const std::string& name)
{
    return Fault::invalid(rules ? "ter:RuleNotExistent" : "ter:NameNotExistent",
                          std::string("there is no ") + (rules ? "rule" : "module") + " '" + name + "'");
}

std::string typeOf(const pugi::xml_node& element)
{
    return element.attribute("Type").value();
}

bool isItem(const pugi::xml_node& node, const std::string& name)
{
    return node.type() == pugi::node_element && name == node.attribute("Name").value();
}

std::vector<pugi::xml_node> itemsNamed(const pugi::xml_node& parameters, const std::string& name)
{
    std::vector<pugi::xml_node> found;
    for (const pugi::xml_node& node : parameters.children()) {
        if (isItem(node, name)) {
            found.push_back(node);
        }
    }
    return found;
}

pugi::xml_node madeParameters(pugi::xml_node element)
{
    const pugi::xml_node found = element.child("tt:Parameters");
    return found ? found : element.append_child("tt:Parameters");
}

/// Takes the preset of ONVIF out of the parameters; nothing when there is none. Regions of motion have a place of their
/// own for it.
std::optional<std::string> takePresetToken(pugi::xml_node parameters)
{
    std::optional<std::string> token;
    for (const pugi::xpath_node& found : parameters.select_nodes("*/*/*[name()='axt:PresetToken']")) {
        token = found.node().text().get();
        found.parent().remove_child(found.node());
    }
    for (const pugi::xml_node& item : itemsNamed(parameters, kOutsidePreset)) {
        token = item.attribute("Value").value();
        parameters.remove_child(item);
    }
    return token;
}

void setInsidePreset(pugi::xml_node parameters, const std::string& preset)
{
    for (const pugi::xml_node& item : itemsNamed(parameters, kInsidePreset)) {
        parameters.remove_child(item);
    }
    if (!preset.empty()) {
        pugi::xml_node item = parameters.prepend_child("tt:SimpleItem");
        item.append_attribute("Name").set_value(kInsidePreset);
        item.append_attribute("Value").set_value(preset.c_str());
    }
}

/// The preset of the document for a preset of ONVIF. @throws Fault
std::string insidePreset(const AnalyticsView& view, bool rules, const std::string& engine, const std::string& token)
{
    if (!token.empty()) {
        if (std::find(view.presets.begin(), view.presets.end(), token) == view.presets.end()) {
            throw invalidComponent(rules, "the camera has no preset '" + token + "'");
        }
        return token;
    }
    return view.moves && engine != kEngineWithoutPresets ? kAwayFromPresets : "";
}

/// Those of a document.
PlacedComponents ofKey(const PlacedComponents& components, const DocumentKey& key)
{
    PlacedComponents found;
    std::copy_if(components.begin(), components.end(), std::back_inserter(found),
                 [&key](const PlacedComponent& component) { return component.key == key; });
    return found;
}

bool contains(const std::vector<DocumentKey>& keys, const DocumentKey& key)
{
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

/// Collects the documents that a change is about, and what shall stand there.
class Draft {
public:
    explicit Draft(const AnalyticsView& view) : _view(view) {}

    PlacedComponents& of(const DocumentKey& key)
    {
        const auto found = _documents.find(key);
        return found != _documents.end() ? found->second
                                         : _documents.emplace(key, ofKey(_view.components, key)).first->second;
    }

    AnalyticsChange change() const
    {
        AnalyticsChange change;
        for (const auto& [key, components] : _documents) {
            change.keys.push_back(key);
            change.wanted.insert(change.wanted.end(), components.begin(), components.end());
        }
        return change;
    }

    /// The type of which a document holds more than it may; nothing when there is none.
    std::optional<std::string> crowdedType() const
    {
        for (const auto& [key, components] : _documents) {
            std::map<std::pair<bool, std::string>, std::size_t> counts;
            for (const PlacedComponent& component : components) {
                if (++counts[{component.isRule, component.type}] >
                    _view.limitsOf(component.isRule, component.type).most) {
                    return component.type;
                }
            }
        }
        return std::nullopt;
    }

private:
    const AnalyticsView& _view;
    std::map<DocumentKey, PlacedComponents> _documents;
};

/// Finds components by the names under which clients know them.
class NamedComponents {
public:
    NamedComponents(const AnalyticsView& view, bool rules) : _view(view), _rules(rules)
    {
        const std::vector<std::string> names = publicNames(view.components);
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (view.components[i].isRule == rules) {
                _indices.emplace(names[i], i);
            }
        }
    }

    /// @throws Fault
    const PlacedComponent& named(const std::string& name) const
    {
        const auto found = _indices.find(name);
        if (found == _indices.end()) {
            throw absent(_rules, name);
        }
        return _view.components[found->second];
    }

private:
    const AnalyticsView& _view;
    const bool _rules;
    std::map<std::string, std::size_t> _indices;
};

bool isSame(const PlacedComponent& a, const PlacedComponent& b)
{
    return a.isRule == b.isRule && a.name == b.name && a.key == b.key;
}

void erase(PlacedComponents& components, const PlacedComponent& component)
{
    const auto found = std::find_if(components.begin(), components.end(),
                                    [&component](const PlacedComponent& each) { return isSame(each, component); });
    if (found != components.end()) {
        components.erase(found);
    }
}

/// The parameters of a request over those that there are: what it does not name stays.
void fillFrom(pugi::xml_node parameters, const pugi::xml_node& current)
{
    std::set<std::string> given;
    for (const pugi::xml_node& item : parameters.children()) {
        given.insert(item.attribute("Name").value());
    }
    // Simple items stand before all others.
    pugi::xml_node lastSimple;
    for (const pugi::xml_node& item : parameters.children("tt:SimpleItem")) {
        lastSimple = item;
    }
    for (const pugi::xml_node& item : current.children()) {
        if (item.type() != pugi::node_element || given.count(item.attribute("Name").value()) != 0) {
            continue;
        }
        if (std::string(item.name()) != "tt:SimpleItem") {
            parameters.append_copy(item);
        } else {
            lastSimple = lastSimple ? parameters.insert_copy_after(item, lastSimple) : parameters.prepend_copy(item);
        }
    }
}

/// The one of a document that can best stand there alone: a module, if there is one.
const PlacedComponent& lastToGo(const PlacedComponents& components)
{
    const auto module = std::find_if(components.begin(), components.end(),
                                     [](const PlacedComponent& component) { return !component.isRule; });
    return module == components.end() ? components.front() : *module;
}

/// What shall stand in the service after a change.
PlacedComponents applied(const AnalyticsChange& change, const PlacedComponents& now)
{
    PlacedComponents all = change.wanted;
    std::copy_if(now.begin(), now.end(), std::back_inserter(all),
                 [&change](const PlacedComponent& component) { return !contains(change.keys, component.key); });
    return all;
}

/// A name that no other rule or module has. @throws Fault
void checkNewName(bool rules, const std::string& name, std::set<std::string>& names)
{
    if (name.empty() || name.size() > kLongestComponentName || name.find('@') != std::string::npos) {
        throw invalidComponent(rules, "a name has 1 to " + std::to_string(kLongestComponentName) + " bytes and no '@'");
    }
    if (!names.insert(name).second) {
        throw taken(rules, name);
    }
}

std::string tooMany(const std::string& type)
{
    return "one place has no room for so many of type '" + type + "'";
}

/// An element of a request as a component of the service, at its own place. @throws Fault
PlacedComponent madeOf(const AnalyticsView& view, bool rules, const pugi::xml_node& element, const std::string& name)
{
    const EngineTypes* const engine = engineOf(view.engines, rules, typeOf(element));
    if (engine == nullptr) {
        throw invalidComponent(rules, "no engine knows the type '" + typeOf(element) + "' of '" + name + "'");
    }
    pugi::xml_document copy;
    pugi::xml_node made = copy.append_copy(element);
    made.set_name(rules ? "tt:Rule" : "tt:AnalyticsModule");
    made.attribute("Name").set_value(name.c_str());
    pugi::xml_node parameters = madeParameters(made);
    setInsidePreset(parameters, insidePreset(view, rules, engine->engine, takePresetToken(parameters).value_or("")));
    return placedComponent(made, engine->engine);
}

} // namespace

AnalyticsChange created(const AnalyticsView& view, bool rules, const std::vector<pugi::xml_node>& elements)
{
    Draft draft(view);
    std::set<std::string> names;
    for (const PlacedComponent& component : view.components) {
        names.insert(component.name);
    }
    for (const pugi::xml_node& element : elements) {
        const std::string name = element.attribute("Name").value();
        checkNewName(rules, name, names);
        PlacedComponent component = madeOf(view, rules, element, name);
        if (view.limitsOf(rules, component.type).fixed) {
            throw fixedType(rules, component.type);
        }
        draft.of(component.key).push_back(std::move(component));
    }
    if (const auto type = draft.crowdedType()) {
        throw Fault::receiver({"ter:Action", rules ? "ter:TooManyRules" : "ter:TooManyModules"}, tooMany(*type));
    }
    return draft.change();
}

AnalyticsChange modified(const AnalyticsView& view, bool rules, const std::vector<pugi::xml_node>& elements)
{
    Draft draft(view);
    const NamedComponents all(view, rules);
    std::set<std::string> seen;
    for (const pugi::xml_node& element : elements) {
        const std::string name = element.attribute("Name").value();
        const PlacedComponent& current = all.named(name);
        if (!seen.insert(name).second) {
            throw invalidComponent(rules, "'" + name + "' stands twice in the list");
        }
        if (typeOf(element) != current.type) {
            throw Fault::receiver({"ter:Action", "ter:TypeChangeProhibited"},
                                  "'" + name + "' is of type '" + current.type + "', which cannot be changed");
        }
        pugi::xml_document old;
        old.load_buffer(current.xml.data(), current.xml.size());
        pugi::xml_document copy;
        pugi::xml_node made = copy.append_copy(element);
        made.set_name(rules ? "tt:Rule" : "tt:AnalyticsModule");
        made.attribute("Name").set_value(current.name.c_str());
        pugi::xml_node parameters = madeParameters(made);
        const std::optional<std::string> token = takePresetToken(parameters);
        fillFrom(parameters, old.document_element().child("tt:Parameters"));
        if (token && *token != presetToken(current.key)) {
            setInsidePreset(parameters, insidePreset(view, rules, current.key.engine, *token));
        } else {
            setInsidePreset(parameters, current.key.preset);
        }
        PlacedComponent component = placedComponent(made, current.key.engine);
        PlacedComponents& there = draft.of(component.key);
        const auto place = std::find_if(there.begin(), there.end(),
                                        [&](const PlacedComponent& each) { return isSame(each, current); });
        if (place != there.end()) {
            *place = std::move(component);
        } else {
            there.push_back(std::move(component));
            erase(draft.of(current.key), current);
        }
    }
    if (const auto type = draft.crowdedType()) {
        throw configurationConflict(tooMany(*type));
    }
    return draft.change();
}

AnalyticsChange deleted(const AnalyticsView& view, bool rules, const std::vector<std::string>& names)
{
    Draft draft(view);
    const NamedComponents all(view, rules);
    for (const std::string& name : names) {
        const PlacedComponent& component = all.named(name);
        if (view.limitsOf(rules, component.type).fixed) {
            throw fixedType(rules, component.type);
        }
        erase(draft.of(component.key), component);
    }
    return draft.change();
}

AnalyticsChange replaced(const AnalyticsView& view, const pugi::xml_node& configuration)
{
    AnalyticsView empty = view;
    empty.components.clear();
    Draft draft(empty);
    std::set<std::string> names;
    const std::vector<std::string> known = publicNames(view.components);
    try {
        for (const bool rules : {false, true}) {
            for (const pugi::xml_node& element :
                 configuration.child(rules ? "tt:RuleEngineConfiguration" : "tt:AnalyticsEngineConfiguration")
                     .children(rules ? "tt:Rule" : "tt:AnalyticsModule")) {
                const std::string name = element.attribute("Name").value();
                if (std::find(known.begin(), known.end(), name) == known.end()) {
                    checkNewName(rules, name, names);
                } else if (!names.insert(name).second) {
                    throw taken(rules, name);
                }
                PlacedComponent component = madeOf(view, rules, element, name.substr(0, name.find('@')));
                draft.of(component.key).push_back(std::move(component));
            }
        }
        if (const auto type = draft.crowdedType()) {
            throw invalidComponent(true, tooMany(*type));
        }
    } catch (const Fault& fault) {
        throw Fault::invalid("ter:ConfigModify", fault.what());
    }
    AnalyticsChange change = draft.change();
    for (const PlacedComponent& component : view.components) {
        if (!contains(change.keys, component.key)) {
            change.keys.push_back(component.key);
        }
    }
    return change;
}

AnalyticsChange undone(const AnalyticsChange& change, const PlacedComponents& before)
{
    AnalyticsChange back{change.keys, {}};
    std::copy_if(before.begin(), before.end(), std::back_inserter(back.wanted),
                 [&change](const PlacedComponent& component) { return contains(change.keys, component.key); });
    return back;
}

std::vector<AnalyticsStep> stepsOf(const AnalyticsChange& change, const PlacedComponents& now)
{
    std::vector<AnalyticsStep> steps;
    for (const DocumentKey& key : change.keys) {
        if (const PlacedComponents wanted = ofKey(change.wanted, key); !wanted.empty()) {
            steps.push_back({documentOf(wanted)});
        }
    }
    // The documents that stay have their new names now; those that go still have theirs.
    PlacedComponents standing = applied(change, now);
    std::vector<DocumentKey> emptied;
    for (const DocumentKey& key : change.keys) {
        if (ofKey(change.wanted, key).empty() && !ofKey(now, key).empty()) {
            emptied.push_back(key);
            const PlacedComponents gone = ofKey(now, key);
            standing.insert(standing.end(), gone.begin(), gone.end());
        }
    }
    for (const DocumentKey& key : emptied) {
        const PlacedComponents gone = ofKey(standing, key);
        std::multiset<std::string> names;
        for (const PlacedComponent& component : standing) {
            names.insert(component.name);
        }
        const bool ambiguous = std::any_of(gone.begin(), gone.end(), [&names](const PlacedComponent& component) {
            return names.count(component.name) > 1;
        });
        AnalyticsStep removal;
        if (ambiguous || gone.size() > kMostDeletedAtOnce) {
            const PlacedComponent& last = lastToGo(gone);
            std::string unique = last.name;
            for (int number = 1; names.count(unique) > (unique == last.name ? 1 : 0); ++number) {
                unique = last.name + "@" + std::to_string(number);
            }
            steps.push_back({documentOf({renamed(last, unique)})});
            removal.names = {unique};
        } else {
            for (const PlacedComponent& component : gone) {
                removal.names.push_back(component.name);
            }
        }
        steps.push_back(std::move(removal));
        standing.erase(std::remove_if(standing.begin(), standing.end(),
                                      [&key](const PlacedComponent& component) { return component.key == key; }),
                       standing.end());
    }
    return steps;
}

} // namespace camera::onvif
