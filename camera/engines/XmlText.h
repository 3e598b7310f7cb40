#pragma once

#include <string>
#include <string_view>

namespace camera::engines {

/// Text as it may stand in an attribute between double quotes.
std::string escaped(std::string_view text);

/// Appends " name=\"value\"" with four decimals; the common way of boxes and points.
void appendNumber(std::string& out, const char* name, double value);

} // namespace camera::engines
