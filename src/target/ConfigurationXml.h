#pragma once

#include <pugixml.hpp>

#include <string>

namespace korva::meridan {

inline constexpr char kModuleElement[] = "tt:AnalyticsModule";
inline constexpr char kRuleElement[] = "tt:Rule";
inline constexpr char kParametersElement[] = "tt:Parameters";

/// node as compact XML: no indentation, no line breaks, no declaration. A null node yields "".
/// @param sizeHint Expected length in bytes.
std::string printRaw(const pugi::xml_node& node, std::size_t sizeHint = 0);

} // namespace korva::meridan
