#pragma once

#include <string>
#include <string_view>

namespace camera::engines {

/// Escapes a text for an attribute in double quotes.
std::string escaped(std::string_view text);

/// Appends " name=\"value\"" with four decimals; the format of boxes and points.
void appendNumber(std::string& out, const char* name, double value);

} // namespace camera::engines
