#pragma once

#include <pugixml.hpp>

#include <string>

namespace korva::meridan {

inline constexpr char kModuleElement[] = "tt:AnalyticsModule";
// Nothing reads it, the parser finds modules; it stays because the marks belong to the device's fixed texts.
inline constexpr char kModuleOpen[] = "<tt:AnalyticsModule>";
// Nothing reads it; it stays as the other half of kModuleOpen.
inline constexpr char kModuleClose[] = "</tt:AnalyticsModule>";
inline constexpr char kRuleElement[] = "tt:Rule";
// Nothing reads it; it stays like kModuleOpen, and open because a rule's tag goes on with attributes.
inline constexpr char kRuleOpen[] = "<tt:Rule";
// Nothing reads it; it stays as the other half of kRuleOpen.
inline constexpr char kRuleClose[] = "</tt:Rule>";
inline constexpr char kParametersElement[] = "tt:Parameters";

/// node as compact XML: no indentation, no line breaks, no declaration. A null node yields "".
/// @param sizeHint Expected length in bytes.
std::string printRaw(const pugi::xml_node& node, std::size_t sizeHint = 0);

} // namespace korva::meridan
