#pragma once

#include "camera/engines/Component.h"

#include <optional>
#include <string>

namespace camera::engines {

/// The components of a parsed configuration document in its order, modules first. An element that is neither
/// module nor rule counts as a component without a type. Nothing when it is no configuration document.
std::optional<std::vector<RawComponent>> readComponents(const pugi::xml_document& document);

/// Parses a text. @throws Refusal saying where it stops being XML.
void parseXml(pugi::xml_document& document, const std::string& text);

/// One component as an element.
std::string printComponent(const Component& component);

/// The text of modules and of rules as one configuration document.
std::string wrapComponents(const std::string& modules, const std::string& rules);

/// One raw component checked and completed by the engine's types; module as in ComponentTypes.
/// @throws Refusal
Component completeComponent(const ComponentTypes& types, const RawComponent& raw, const Component* module);

/// A whole document, an empty text being an empty configuration. @throws Refusal naming the component.
Components completeDocument(const ComponentTypes& types, const std::string& config);

} // namespace camera::engines
