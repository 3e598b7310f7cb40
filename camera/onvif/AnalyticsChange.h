#pragma once

#include "camera/onvif/AnalyticsState.h"

#include <pugixml.hpp>

#include <functional>
#include <string>
#include <vector>

namespace camera::onvif {

/// What shall stand in some documents, instead of all that stands there.
struct AnalyticsChange {
    std::vector<DocumentKey> keys;
    PlacedComponents wanted; ///< of these keys
};

/// What a change is made of.
struct AnalyticsView {
    std::vector<EngineTypes> engines;
    PlacedComponents components;      ///< all that there are now
    std::vector<std::string> presets; ///< that the camera has
    bool moves = false;               ///< whether it can move
    /// What holds for a type of rules or modules.
    std::function<TypeLimits(bool rules, const std::string& type)> limitsOf = [](bool, const std::string&) {
        return TypeLimits();
    };
};

// The changes that ONVIF's operations make. Each is about all of its list or nothing.
// @param rules  rules, else modules. @throws Fault as ONVIF has it for the operation.

AnalyticsChange created(const AnalyticsView& view, bool rules, const std::vector<pugi::xml_node>& elements);
AnalyticsChange modified(const AnalyticsView& view, bool rules, const std::vector<pugi::xml_node>& elements);
AnalyticsChange deleted(const AnalyticsView& view, bool rules, const std::vector<std::string>& names);

/// All rules and modules of a camera change places with those of a tt:VideoAnalyticsConfiguration.
/// @throws Fault ter:ConfigModify
AnalyticsChange replaced(const AnalyticsView& view, const pugi::xml_node& configuration);

/// What stood in the documents of a change before.
AnalyticsChange undone(const AnalyticsChange& change, const PlacedComponents& before);

/// One call of the analytics service.
struct AnalyticsStep {
    std::string document = {};           ///< to be given to setConfiguration; empty: names are deleted
    std::vector<std::string> names = {}; ///< to be given to deleteRules
};

/**
 * The calls that bring about a change. Whole documents are set; only one that loses its last component is emptied by
 * deleting, because the service takes no empty document and forgets all that stands beside a deleted component. A name
 * is deleted only where it stands once, for the first component of a name goes: a document with others, or with many,
 * is first made one with a single component of a name that nothing else has.
 */
std::vector<AnalyticsStep> stepsOf(const AnalyticsChange& change, const PlacedComponents& now);

} // namespace camera::onvif
