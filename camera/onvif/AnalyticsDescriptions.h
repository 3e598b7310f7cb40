#pragma once

#include "camera/onvif/AnalyticsChange.h"

#include <pugixml.hpp>

#include <memory>
#include <string>
#include <vector>

namespace camera::onvif {

/**
 * What engines tell of their types in their ENGINE.onvif.xml: parameters, options, limits, messages and a frame of
 * their metadata. A type that no description has is told of without all this.
 */
class AnalyticsDescriptions {
public:
    /// A description that cannot be read counts as none.
    /// @param engines  borrowed.
    AnalyticsDescriptions(const std::vector<EngineTypes>& engines, std::vector<std::string> presets, bool moves);

    /// Fills tan:SupportedRules or tan:SupportedAnalyticsModules.
    void fillSupported(pugi::xml_node supported, bool rules) const;

    /// Adds the options of a type, or of all for the empty one, as elements of that name.
    void putOptions(pugi::xml_node parent, const char* element, bool rules, const std::string& type) const;

    /// Adds tan:AnalyticsModule with its frame for a type of modules, or for all for the empty one.
    void putMetadata(pugi::xml_node parent, const std::string& type) const;

    /// The tt:Messages of all types. They live as long as this object.
    std::vector<pugi::xml_node> messages() const;

    /// Whether every engine has a description that can be read.
    bool areComplete() const;

    TypeLimits limitsOf(bool rules, const std::string& type) const;

    /// Whether an engine has that type.
    bool has(bool rules, const std::string& type) const { return engineOf(_engines, rules, type) != nullptr; }

private:
    pugi::xml_node found(bool rules, const std::string& type) const;
    void putDescription(pugi::xml_node supported, bool rules, const std::string& type) const;
    void putPresetOptions(pugi::xml_node parent, const char* element, bool rules, const std::string& type) const;

    const std::vector<EngineTypes>& _engines;
    const std::vector<std::string> _presets;
    const bool _moves;
    std::vector<std::unique_ptr<pugi::xml_document>> _documents; ///< one of each engine
};

} // namespace camera::onvif
