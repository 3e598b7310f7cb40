#pragma once

#include <pugixml.hpp>

#include <cstddef>
#include <string>
#include <tuple>
#include <vector>

namespace camera::onvif {

// What the analytics service keeps, as values. It keeps one document for each engine and place; rules and modules are
// parts of a document. Names inside it need not be unique, names of ONVIF are.

/// An engine with the types that it knows.
struct EngineTypes {
    std::string engine;
    std::vector<std::string> moduleTypes;
    std::vector<std::string> ruleTypes;
    std::string description = {}; ///< the text of its ENGINE.onvif.xml; empty: it has none

    const std::vector<std::string>& types(bool rules) const { return rules ? ruleTypes : moduleTypes; }
};

/// What an engine's description says of one of its types.
struct TypeLimits {
    std::size_t most = 1000; ///< how many one document may hold
    bool fixed = false;      ///< there are some, and clients can neither add nor remove any
};

/// Which document: of an engine, for a preset. An empty preset is the engine's default.
struct DocumentKey {
    std::string engine;
    std::string preset;

    friend bool operator==(const DocumentKey& a, const DocumentKey& b)
    {
        return a.engine == b.engine && a.preset == b.preset;
    }
    friend bool operator<(const DocumentKey& a, const DocumentKey& b)
    {
        return std::tie(a.engine, a.preset) < std::tie(b.engine, b.preset);
    }
};

/// One rule or module, in the document that it belongs to.
struct PlacedComponent {
    bool isRule = false;
    std::string name;
    std::string type;
    DocumentKey key;
    std::string xml; ///< the whole element
};
using PlacedComponents = std::vector<PlacedComponent>;

/// How clients and the service call the parameter that has the preset.
inline constexpr const char* kOutsidePreset = "PresetToken";
inline constexpr const char* kInsidePreset = "PtzPreset";

/// What stands in the service now. Elements of a type that no engine knows are left out.
PlacedComponents placedComponents(const std::vector<EngineTypes>& engines, const std::vector<std::string>& rules,
                                  const std::vector<std::string>& modules);

/// One element as it belongs to an engine: its document is that of its own PtzPreset parameter.
PlacedComponent placedComponent(const pugi::xml_node& element, const std::string& engine);

/// The engine that knows a type; null: none.
const EngineTypes* engineOf(const std::vector<EngineTypes>& engines, bool rules, const std::string& type);

/// The preset of ONVIF: that of the document, but empty where the document is for a camera that stands at no preset.
std::string presetToken(const DocumentKey& key);

/// The names under which clients know the components, in their order: a name that stands once as it is, else
/// NAME@PRESET, and with the engine's name or a number behind it where even that is not enough.
std::vector<std::string> publicNames(const PlacedComponents& components);

/// The same under another name.
PlacedComponent renamed(PlacedComponent component, const std::string& name);

/// Adds a component as clients see it, as the element of that name: with its public name and preset of ONVIF.
void putComponent(pugi::xml_node parent, const char* element, const PlacedComponent& component,
                  const std::string& publicName);

/// The document of components that have one key: modules, then rules.
std::string documentOf(const PlacedComponents& components);

} // namespace camera::onvif
