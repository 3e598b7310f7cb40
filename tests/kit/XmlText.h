#pragma once

#include <string>

namespace kit {

/// text such that it comes back unchanged from between double quotes: controls as character references.
std::string escapedAttribute(const std::string& text);

/// text with only what would end the attribute or begin a reference escaped.
std::string plainAttribute(const std::string& text);

/// What a reader makes of plainAttribute(text): line ends, tabs and line feeds have become one blank each.
std::string normalised(const std::string& text);

} // namespace kit
