#pragma once

#include <json/value.h>

#include <string>
#include <vector>

namespace camera::onvif {

/**
 * A configuration document from a file, ready for the analytics service: names under their usual prefixes.
 * @throws std::runtime_error with one sentence: file, line, column, what is wrong, what to do.
 */
std::string readConfiguration(const std::string& path);

/// The rules (else the modules) of a file, one element each: its root is one of them, or a whole configuration.
/// @throws as readConfiguration(); also when the file holds none.
std::vector<std::string> readComponents(const std::string& path, bool rules);

/// Name and type of every rule and module of a configuration or of one element, for people.
struct ComponentName {
    bool isRule = false;
    std::string name;
    std::string type;
    std::string preset; ///< of its PtzPreset parameter, else empty
};
std::vector<ComponentName> componentsOf(const std::string& xml);

/// The same for programs: an object each with its rule or module, type, preset, xml (the element itself), and each
/// other simple parameter by its name.
std::vector<Json::Value> componentObjects(const std::string& xml);
Json::Value componentObject(const ComponentName& component);

/**
 * Why no engine takes these components, as far as the types that the engines know and the error lines tell.
 * @param lines what was logged meanwhile, in its order.
 */
std::string refusalReason(const std::vector<ComponentName>& components, const std::vector<std::string>& ruleTypes,
                          const std::vector<std::string>& moduleTypes, std::vector<std::string> lines);

/// What the error lines of a refusal say themselves, without what each refusal has.
std::string refusalText(std::vector<std::string> lines);

/// "rule 'Gate' (tt:CellMotionDetector, preset Door)"
std::string describe(const ComponentName& component);

/// What an engine evaluates: "preset 'Gate', rule 'A', module 'B'", or "none". Where a camera stands at no preset,
/// "away from presets" stands in place of the preset.
std::string describeActive(const std::string& preset, const std::vector<std::string>& rules,
                           const std::vector<std::string>& modules);

bool operator==(const ComponentName& a, const ComponentName& b);

} // namespace camera::onvif
