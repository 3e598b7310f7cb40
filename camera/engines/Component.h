#pragma once

#include <pugixml.hpp>

#include <string>
#include <vector>

namespace camera::engines {

class ParameterList;

/// One analytics module or rule whose parameters are checked and complete.
struct Component {
    std::string name;
    std::string type;
    std::string parameters; ///< its tt:Parameters element
    bool isRule = false;
};

using Components = std::vector<Component>; ///< modules before rules

/// One component as a document has it. Borrows the document.
struct RawComponent {
    std::string name;
    std::string type;
    pugi::xml_node parameters;
    bool isRule = false;
};

/// What one engine offers: one type of module, of which a configuration holds at most one, and one type of rule.
struct ComponentTypes {
    const char* engine;
    const char* moduleType;
    const char* ruleType;

    /// Reads every parameter of a component, fills in what is absent. @throws Refusal
    void (*completeModule)(ParameterList& parameters);

    /// @param module the module of the same configuration; null when it has none.
    void (*completeRule)(ParameterList& parameters, const Component* module);

    bool owns(const std::string& type) const { return type == moduleType || type == ruleType; }
};

/// The parameters every component may have beside its own: PtzPreset, and Active, whose value is returned.
bool readCommonParameters(ParameterList& parameters);

} // namespace camera::engines
